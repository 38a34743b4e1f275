#pragma once

#include "frame/texture_interfaces.h"

/// Ready-made textures of the host that need no plugin.
namespace standin {

/// The same number everywhere, with bounds and a gradient of choice.
class ConstantFloat final : public QUtils::TextureFloatInterface {
 public:
  ConstantFloat() = default;
  explicit ConstantFloat(float everywhere) : value(everywhere), lo(everywhere), hi(everywhere) {}

  QUtils::PluginBase* getPlugin() override { return nullptr; }
  float getFloat(const QUtils::ShadingContext& /*sc*/) const override { return value; }
  void getFloatBounds(float& min, float& max) const override {
    min = lo;
    max = hi;
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& /*sc*/) const override {
    return gradient;
  }

  float value = 0, lo = 0, hi = 0;
  QUtils::Vector gradient = {};
};

/// The same vector everywhere, with bounds and a gradient of choice.
class ConstantVector final : public QUtils::TextureVectorInterface {
 public:
  ConstantVector() = default;
  explicit ConstantVector(QUtils::Vector everywhere)
      : value(everywhere), lo(everywhere), hi(everywhere) {}

  QUtils::PluginBase* getPlugin() override { return nullptr; }
  QUtils::Vector getVector(const QUtils::ShadingContext& /*sc*/) const override { return value; }
  void getVectorBounds(QUtils::Vector& min, QUtils::Vector& max) const override {
    min = lo;
    max = hi;
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& /*sc*/) const override {
    return gradient;
  }

  QUtils::Vector value = {}, lo = {}, hi = {};
  QUtils::Vector gradient = {};
};

/// The same colour everywhere, with bounds and a gradient of choice.
class ConstantColor final : public QUtils::TextureInterface {
 public:
  ConstantColor() = default;
  explicit ConstantColor(QUtils::AColor everywhere)
      : value(everywhere), lo(everywhere), hi(everywhere) {}

  QUtils::PluginBase* getPlugin() override { return nullptr; }
  QUtils::AColor getColor(const QUtils::ShadingContext& /*sc*/) const override { return value; }
  void getColorBounds(QUtils::AColor& min, QUtils::AColor& max) const override {
    min = lo;
    max = hi;
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& /*sc*/) const override {
    return gradient;
  }

  QUtils::AColor value = {}, lo = {}, hi = {};
  QUtils::Vector gradient = {};
};

}  // namespace standin
