// SPDX-License-Identifier: MIT
#pragma once

#include "frame/plugin_base.h"
#include "host/api.h"

/// The interfaces through which the host evaluates textures.
///
/// Value and gradient are asked at a shading point; the bounds are for all shading points at once,
/// not known to enclose every value, and written through two references, the lower one first. The
/// order of the virtual operations is part of the contract with the host.
namespace QUtils {

struct ShadingContext;

/// A colour texture.
class TextureInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE"; }

  /// [render threads, between frameBegin and frameEnd]
  virtual AColor getColor(const ShadingContext& sc) const = 0;

  /// [render threads, between frameBegin and frameEnd]
  virtual void getColorBounds(AColor& min, AColor& max) const = 0;

  /// Rate of change of the colour's intensity at the shading point. Zero by default.
  /// [render threads, between frameBegin and frameEnd]
  virtual Vector getGradient(const ShadingContext& sc) const;
};

/// A texture whose value is a number.
class TextureFloatInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE_FLOAT; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE_FLOAT"; }

  /// [render threads, between frameBegin and frameEnd]
  virtual float getFloat(const ShadingContext& sc) const = 0;

  /// [render threads, between frameBegin and frameEnd]
  virtual void getFloatBounds(float& min, float& max) const = 0;

  /// Rate of change of the value at the shading point. Zero by default.
  /// [render threads, between frameBegin and frameEnd]
  virtual Vector getGradient(const ShadingContext& sc) const;
};

/// A texture whose value is a vector.
class TextureVectorInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE_VECTOR; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE_VECTOR"; }

  /// [render threads, between frameBegin and frameEnd]
  virtual Vector getVector(const ShadingContext& sc) const = 0;

  /// [render threads, between frameBegin and frameEnd]
  virtual void getVectorBounds(Vector& min, Vector& max) const = 0;

  /// Rate of change of the texture's scalar value at the shading point. Zero by default.
  /// [render threads, between frameBegin and frameEnd]
  virtual Vector getGradient(const ShadingContext& sc) const;
};

/// A texture whose value is an integer.
class TextureIntInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE_INT; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE_INT"; }

  /// [render threads, between frameBegin and frameEnd]
  virtual std::int32_t getInt(const ShadingContext& sc) const = 0;
};

/// A texture whose value is a transform.
class TextureTransformInterface : public PluginInterface {
 public:
  InterfaceId getInterfaceId() const override { return EXT_TEXTURE_TRANSFORM; }
  const char* getInterfaceName() const override { return "EXT_TEXTURE_TRANSFORM"; }

  /// [render threads, between frameBegin and frameEnd]
  virtual Transform getTransform(const ShadingContext& sc) const = 0;
};

/// A texture that can give shader source to the host's GPU renderer.
class RTTexInterface : public PluginInterface {
 public:
  ~RTTexInterface() override;  // the one operation out of line: its file owns the virtual table
  InterfaceId getInterfaceId() const override { return EXT_RTTEX; }
  const char* getInterfaceName() const override { return "EXT_RTTEX"; }

  virtual void* getShaderInfo() = 0;           ///< [any thread]
  virtual void setShaderInfo(void* info) = 0;  ///< [set-up thread]

  /// Adds the source of this texture to `source` and `oclData`; returns 1, or 0 if it does not
  /// serve the kind of value `outputName` for the kind of descriptor `descriptorKind`.
  /// [any thread, but not during the plugin's frameBegin]
  virtual std::int32_t getShaderSource(const char* outputName, const char* secondName,
                                       const char* descriptorKind, ShaderSource& source,
                                       OCLData& oclData) = 0;

  /// The host's generator: adds the source of `texture`, which may be null. Called within
  /// `getShaderSource`, and from its thread.
  QUOR_API std::int32_t getRTTexInterfaceSource(PluginInterface* texture, const char* outputName,
                                                const char* secondName, const char* descriptorKind,
                                                ShaderSource& source, OCLData& oclData);
};

}  // namespace QUtils
