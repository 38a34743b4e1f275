#include "colorops/float3_to_acolor.h"
#include "colorops/tex_a_color_op.h"
#include "floatvectorops/tex_float_op.h"
#include "floatvectorops/tex_vector_op.h"
#include "frame/lib_desc.h"
#include "frame/plugin_descriptor.h"
#include "host/api.h"
#include "sampler/tex_sampler.h"

namespace {

// In this order: each descriptor puts itself at the head of the registry, so the host is shown them
// from the last to the first, and at unload the library descriptor goes before them.
samplerinfo::TexSamplerDesc texSamplerDesc;
samplerinfo::TexVectorOpDesc texVectorOpDesc;
samplerinfo::TexFloatOpDesc texFloatOpDesc;
samplerinfo::TexAColorOpDesc texAColorOpDesc;
samplerinfo::Float3ToAColorDesc float3ToAColorDesc;
samplerinfo::LibDesc libDesc;

}  // namespace

/// The library's only export: its descriptor, which lives from load to unload.
extern "C" SAMPLERINFO_EXPORT QUtils::PluginLibDesc* getLibDesc() { return &libDesc; }
