// SPDX-License-Identifier: MIT
#pragma once

#include "host/shading_context.h"
#include "math/vector.h"

/// Ready-made host objects behind a shading context.
namespace standin {

/// A scene that is nothing but its bounding box, in render space.
class BoxScene final : public QUtils::SceneInfo {
 public:
  void getBoundingBox(QUtils::Vector& min, QUtils::Vector& max) override {
    min = lo;
    max = hi;
  }

  QUtils::Vector lo = {}, hi = {};
};

/// The surface at one shaded point. Whether it offers uvw coordinates and a material id is up to
/// its maker.
class SurfacePoint final : public QUtils::PluginBase,
                           public QUtils::UVWSource,
                           public QUtils::MaterialIdSource {
 public:
  QUtils::PluginInterface* getInterface(QUtils::InterfaceId id) override {
    if (id == QUtils::EXT_UVW_SOURCE && hasUvw) return static_cast<QUtils::UVWSource*>(this);
    if (id == QUtils::EXT_MATERIAL_ID_SOURCE && hasMaterialId) {
      return static_cast<QUtils::MaterialIdSource*>(this);
    }
    return PluginBase::getInterface(id);
  }
  QUtils::PluginBase* getPlugin() override { return this; }

  void getUVWDerivatives(const QUtils::ShadingContext& /*sc*/, std::int32_t /*channel*/,
                         QUtils::Vector& outA, QUtils::Vector& outB,
                         QUtils::Vector& outC) override {
    outA = a;
    outB = b;
    outC = c;
  }
  QUtils::Vector getUVW(const QUtils::ShadingContext& /*sc*/, std::int32_t /*channel*/) override {
    return uvw;
  }
  std::int32_t getMaterialId(const QUtils::ShadingContext& /*sc*/) override { return materialId; }

  bool hasUvw = false;
  bool hasMaterialId = false;
  QUtils::Vector uvw = {};
  QUtils::Vector a = {}, b = {}, c = {};  ///< columns of the uvw derivatives, render space
  std::int32_t materialId = 0;
};

/// An instance in the scene. Whether it offers its object space is up to its maker.
class SceneObject final : public QUtils::PluginBase, public QUtils::ObjectSpaceMapping {
 public:
  QUtils::PluginInterface* getInterface(QUtils::InterfaceId id) override {
    if (id == QUtils::EXT_OBJECT_SPACE_MAPPING && hasMapping) return this;
    return PluginBase::getInterface(id);
  }
  QUtils::PluginBase* getPlugin() override { return this; }

  QUtils::Vector worldToObjectNormal(const QUtils::ShadingContext& /*sc*/,
                                     const QUtils::Vector& n) override {
    const QUtils::Transform& t = normalToObject;
    return t.c0 * n.x + t.c1 * n.y + t.c2 * n.z;
  }
  QUtils::Vector worldToObjectPoint(const QUtils::ShadingContext& /*sc*/,
                                    const QUtils::Vector& p) override {
    const QUtils::Transform& t = pointToObject;
    return t.c0 * p.x + t.c1 * p.y + t.c2 * p.z + t.offset;
  }

  bool hasMapping = false;
  QUtils::Transform pointToObject = {};   ///< render space to object space
  QUtils::Transform normalToObject = {};  ///< its inverse transpose; the offset is not used
};

}  // namespace standin
