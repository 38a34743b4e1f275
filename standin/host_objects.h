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
class SurfacePoint final : public QUtils::PluginBase {
 public:
  QUtils::PluginInterface* getInterface(QUtils::InterfaceId id) override {
    if (id == QUtils::EXT_UVW_SOURCE && hasUvw) return &uvwSource_;
    if (id == QUtils::EXT_MATERIAL_ID_SOURCE && hasMaterialId) return &materialIdSource_;
    return PluginBase::getInterface(id);
  }

  bool hasUvw = false;
  bool hasMaterialId = false;
  QUtils::Vector uvw = {};
  QUtils::Vector a = {}, b = {}, c = {};  ///< columns of the uvw derivatives, render space
  std::int32_t materialId = 0;

 private:
  class Uvw final : public QUtils::UVWSource {
   public:
    explicit Uvw(SurfacePoint& surface) : owner_(surface) {}
    QUtils::PluginBase* getPlugin() override { return &owner_; }
    void getUVWDerivatives(const QUtils::ShadingContext& /*sc*/, std::int32_t /*channel*/,
                           QUtils::Vector& outA, QUtils::Vector& outB,
                           QUtils::Vector& outC) override {
      outA = owner_.a;
      outB = owner_.b;
      outC = owner_.c;
    }
    QUtils::Vector getUVW(const QUtils::ShadingContext& /*sc*/, std::int32_t /*channel*/) override {
      return owner_.uvw;
    }

   private:
    SurfacePoint& owner_;
  };

  class MaterialId final : public QUtils::MaterialIdSource {
   public:
    explicit MaterialId(SurfacePoint& surface) : owner_(surface) {}
    QUtils::PluginBase* getPlugin() override { return &owner_; }
    std::int32_t getMaterialId(const QUtils::ShadingContext& /*sc*/) override {
      return owner_.materialId;
    }

   private:
    SurfacePoint& owner_;
  };

  Uvw uvwSource_{*this};
  MaterialId materialIdSource_{*this};
};

/// An instance in the scene. Whether it offers its object space is up to its maker.
class SceneObject final : public QUtils::PluginBase {
 public:
  QUtils::PluginInterface* getInterface(QUtils::InterfaceId id) override {
    if (id == QUtils::EXT_OBJECT_SPACE_MAPPING && hasMapping) return &mapping_;
    return PluginBase::getInterface(id);
  }

  bool hasMapping = false;
  QUtils::Transform pointToObject = {};   ///< render space to object space
  QUtils::Transform normalToObject = {};  ///< its inverse transpose; the offset is not used

 private:
  class Mapping final : public QUtils::ObjectSpaceMapping {
   public:
    explicit Mapping(SceneObject& object) : owner_(object) {}
    QUtils::PluginBase* getPlugin() override { return &owner_; }
    QUtils::Vector worldToObjectNormal(const QUtils::ShadingContext& /*sc*/,
                                       const QUtils::Vector& n) override {
      const QUtils::Transform& t = owner_.normalToObject;
      return t.c0 * n.x + t.c1 * n.y + t.c2 * n.z;
    }
    QUtils::Vector worldToObjectPoint(const QUtils::ShadingContext& /*sc*/,
                                      const QUtils::Vector& p) override {
      const QUtils::Transform& t = owner_.pointToObject;
      return t.c0 * p.x + t.c1 * p.y + t.c2 * p.z + t.offset;
    }

   private:
    SceneObject& owner_;
  };

  Mapping mapping_{*this};
};

}  // namespace standin
