// SPDX-License-Identifier: MIT
// The classes and records that the host meets, used in a way that has clang print their layouts.

#include "frame/plugin.h"
#include "frame/plugin_desc.h"
#include "host/shading_context.h"

using namespace QUtils;

/// A virtual table is laid out where a constructor needs it; exporting the class asks for one.
template <class T, auto... arguments>
struct __declspec(dllexport) Constructed : T {
  Constructed() : T(arguments...) {}
};

template struct Constructed<PluginBase>;
template struct Constructed<PluginInterface>;
template struct Constructed<PluginLibDesc>;
template struct Constructed<PluginDesc>;
template struct Constructed<QuorPluginDesc, nullptr>;
template struct Constructed<Plugin>;
template struct Constructed<QuorPluginInterface, nullptr>;
template struct Constructed<QuorPlugin, nullptr>;
template struct Constructed<QuorTexture, nullptr>;
template struct Constructed<TextureInterface>;
template struct Constructed<TextureFloatInterface>;
template struct Constructed<TextureVectorInterface>;
template struct Constructed<TextureIntInterface>;
template struct Constructed<TextureTransformInterface>;
template struct Constructed<RTTexInterface>;

template struct Constructed<PluginDescVisitor>;
template struct Constructed<QuorPluginHost>;
template struct Constructed<RenderLog>;
template struct Constructed<SceneInfo>;
template struct Constructed<CameraMotion>;
template struct Constructed<ObjectSpaceMapping>;
template struct Constructed<UVWSource>;
template struct Constructed<MaterialIdSource>;
template struct Constructed<QuorFrameData>;

// clang prints the layouts of records whose size it needs.
static_assert(sizeof(QuorPluginParameter) + sizeof(RenderServices) + sizeof(RenderContext) +
                  sizeof(ShadingContext) >
              0);
