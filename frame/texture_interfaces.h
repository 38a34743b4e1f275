// SPDX-License-Identifier: MIT
#pragma once

#include "frame/plugin_base.h"
#include "host/api.h"

/// The interfaces through which the host evaluates textures.
///
/// Value and gradient are asked at a shading point; the bounds are for all shading points at once,
/// not known to enclose every value, and written through two references, the lower one first. All
/// three may be called from any number of threads at once, between the owning plugin's `frameBegin`
/// and its `frameEnd`. The order of the virtual operations is part of the contract with the host.
namespace QUtils {

struct ShadingContext;

/// A colour texture.
class TextureInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE"; }

  virtual AColor getColor(const ShadingContext& sc) const = 0;
  virtual void getColorBounds(AColor& min, AColor& max) const = 0;

  /// Rate of change of the colour's intensity at the shading point. Zero by default.
  virtual Vector getGradient(const ShadingContext& sc) const;
};

/// A texture whose value is a number.
class TextureFloatInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE_FLOAT; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE_FLOAT"; }

  virtual float getFloat(const ShadingContext& sc) const = 0;
  virtual void getFloatBounds(float& min, float& max) const = 0;

  /// Rate of change of the value at the shading point. Zero by default.
  virtual Vector getGradient(const ShadingContext& sc) const;
};

/// A texture whose value is a vector.
class TextureVectorInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE_VECTOR; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE_VECTOR"; }

  virtual Vector getVector(const ShadingContext& sc) const = 0;
  virtual void getVectorBounds(Vector& min, Vector& max) const = 0;

  /// Rate of change of the texture's scalar value at the shading point. Zero by default.
  virtual Vector getGradient(const ShadingContext& sc) const;
};

/// A texture whose value is an integer.
class TextureIntInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE_INT; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE_INT"; }

  virtual std::int32_t getInt(const ShadingContext& sc) const = 0;
};

/// A texture whose value is a transform.
class TextureTransformInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE_TRANSFORM; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE_TRANSFORM"; }

  virtual Transform getTransform(const ShadingContext& sc) const = 0;
};

/// A texture that can give shader source to the host's GPU renderer.
class RTTexInterface : public PluginInterface {
 public:
  ~RTTexInterface() override;  // the one operation out of line: its file owns the virtual table
  InterfaceId getInterfaceId() const override { return EXT_RTTEX; }
  const char* getInterfaceName() const override { return "EXT_RTTEX"; }

  virtual void* getShaderInfo() = 0;
  virtual void setShaderInfo(void* info) = 0;

  /// Adds the source of this texture to `source` and `oclData`; returns 1, or 0 if it does not
  /// serve the kind of value `outputName` for the kind of descriptor `descriptorKind`.
  virtual std::int32_t getShaderSource(const char* outputName, const char* secondName,
                                       const char* descriptorKind, ShaderSource& source,
                                       OCLData& oclData) = 0;

  /// The host's generator: adds the source of `texture`, which may be null.
  QUOR_API std::int32_t getRTTexInterfaceSource(PluginInterface* texture, const char* outputName,
                                                const char* secondName, const char* descriptorKind,
                                                ShaderSource& source, OCLData& oclData);
};

}  // namespace QUtils
