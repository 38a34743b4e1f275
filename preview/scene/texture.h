#pragma once

#include <array>
#include <variant>

#include "frame/texture_interfaces.h"
#include "preview/scene/scene.h"

namespace preview {

/// A texture of any kind. Not owned, never null.
using Texture = std::variant<QUtils::TextureInterface*, QUtils::TextureFloatInterface*,
                             QUtils::TextureVectorInterface*, QUtils::TextureIntInterface*,
                             QUtils::TextureTransformInterface*>;

/// A texture by the interface that it reports.
Texture asTexture(QUtils::PluginInterface* iface);

/// "color", "float", "vector", "integer" or "transform".
const char* kindName(const Texture& texture);

/// How many numbers `show` shows of a texture; 0 if there is no such thing to show.
int channelCount(const Texture& texture, Show show);

using Channels = std::array<float, 4>;

/// What `show` shows of a texture; the channels beyond its count are zero.
Channels evaluate(const Texture& texture, Show show, const QUtils::ShadingContext& sc);

}  // namespace preview
