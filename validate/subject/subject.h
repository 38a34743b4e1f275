// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "validate/harness/check.h"
#include "validate/harness/contract.h"

/// The module on trial, as a host sees it.
namespace validate {

/// The module, loaded once more. The check fails if it cannot be.
class Loaded : private Unique {
 public:
  Loaded();
  ~Loaded();

  void* handle() const { return handle_; }
  void* library() const;  ///< its library descriptor

 private:
  void* handle_;
};

/// The library descriptor of the module, which stays loaded.
void* library();

/// The descriptors that an enumeration shows: all of them, or as many as the visitor wants.
struct Enumeration {
  std::int32_t answer;
  std::vector<void*> descs;
};
Enumeration enumerate(void* libraryDescriptor, int atMost = -1,
                      const std::function<void()>& meanwhile = {});

/// The descriptors, registered with a host for as long as this lives.
class Registered : private Unique {
 public:
  explicit Registered(std::vector<void*> all);
  ~Registered();

  const std::vector<void*> descs;
};

/// All plugin descriptors of the module that stays loaded, registered, or the one with this name.
const std::vector<void*>& descriptors();
void* descriptor(const std::string& name);
std::string nameOf(void* desc);

/// The parameters that a descriptor describes, and whether they are registered as its own.
bool areParametersRegistered(void* desc);
std::span<const ParameterInfo> parametersOf(void* desc);
inline bool isOutput(const ParameterInfo& info) { return info.type >= ParameterType::Output; }
inline bool isTextureInput(const ParameterInfo& info) { return info.type < ParameterType::Integer; }
inline TextureKind kindOf(const ParameterInfo& info) {
  return static_cast<TextureKind>(isOutput(info) ? info.type - ParameterType::Output : info.type);
}

/// A plugin, deleted through its descriptor after the end of its frame and of its render.
class Instance : private Unique {
 public:
  explicit Instance(void* desc);
  ~Instance();

  void* desc() const { return desc_; }
  void* object() const { return object_; }
  void* part() const { return part_; }  ///< its `EXT_QUOR_PLUGIN`
  const std::string& name() const { return name_; }
  const char* setting() const { return setting_.c_str(); }  ///< of the frame, for `Calling`
  void forget() { object_ = nullptr; }                      ///< somebody else has deleted it

  /// What the plugin answers to a connection or a number.
  std::int32_t connect(const char* input, void* texture) const;
  std::int32_t set(const char* parameter, ParameterKind kind, std::int32_t value) const;

  QuorPluginParameter* find(const char* parameter) const;
  QuorPluginParameter& parameter(const char* parameter) const;  ///< it has to be there
  void* texture(const char* output) const;  ///< null if there is none of this name
  void beginRender() const;                 ///< unless it has begun
  void beginFrame() const;                  ///< the next one of the render, which it may begin
  void endRender() const;                   ///< and its frame

 private:
  void* desc_;
  const std::string name_;
  void* object_ = nullptr;
  void* part_ = nullptr;
  mutable bool rendering_ = false, inFrame_ = false;
  mutable std::string setting_;

  void* called() const;  ///< its `part`, for a call in its name
};

/// A new plugin of each kind, one after the other.
struct Instances {
  struct Iterator {
    void* const* desc;
    Instance operator*() const { return Instance(*desc); }
    void operator++() { ++desc; }
    bool operator==(const Iterator&) const = default;
  };
  Iterator begin() const { return {descs.data()}; }
  Iterator end() const { return {descs.data() + descs.size()}; }
  const std::vector<void*>& descs = descriptors();
};

}  // namespace validate
