// SPDX-License-Identifier: MIT
#include "host/parameters.h"

#include <cstring>
#include <vector>

#include "frame/plugin.h"
#include "standin/introspection.h"

using standin::ParameterInfo;
using standin::ParamType;

namespace {

standin::CallListener* callListener = nullptr;

void note(const char* operation, const char* name = nullptr) {
  if (callListener != nullptr) callListener->called(operation, name);
}

struct Registration {
  const QUtils::QuorPluginDesc* desc;
  const std::vector<ParameterInfo>* parameters;
};

// Lives as long as this library: descriptors of loaded modules go later than a local static would.
std::vector<Registration> registrations;

}  // namespace

namespace standin {

void listenToCalls(CallListener* listener) { callListener = listener; }

std::span<const ParameterInfo> registeredParameters(const QUtils::QuorPluginDesc* desc) {
  for (const Registration& registration : registrations) {
    if (registration.desc == desc) return *registration.parameters;
  }
  return {};
}

}  // namespace standin

namespace QUtils {

struct QuorParameterListDesc::Storage {
  std::vector<ParameterInfo> parameters;
  const QuorPluginDesc* registeredFor = nullptr;  ///< the last one

  std::int32_t add(const char* operation, const ParameterInfo& info) {
    note(operation, info.name);
    parameters.push_back(info);
    return 1;
  }
};

QuorParameterListDesc::QuorParameterListDesc() : storage_(new Storage) { note(__func__); }

QuorParameterListDesc::~QuorParameterListDesc() {
  std::erase_if(registrations,
                [this](const Registration& r) { return r.parameters == &storage_->parameters; });
  delete storage_;
}

std::int32_t QuorParameterListDesc::addParamTexture(char* name, std::int32_t flags,
                                                    const char* help, const char* text) {
  return storage_->add(__func__, {name, ParamType::Color, 0, flags, help, text});
}

std::int32_t QuorParameterListDesc::addParamTextureFloat(char* name, std::int32_t flags,
                                                         const char* help, const char* text) {
  return storage_->add(__func__, {name, ParamType::Float, 0, flags, help, text});
}

std::int32_t QuorParameterListDesc::addParamTextureVector(char* name, std::int32_t flags,
                                                          const char* help, const char* text) {
  return storage_->add(__func__, {name, ParamType::Vector, 0, flags, help, text});
}

std::int32_t QuorParameterListDesc::addParamInt(char* name, std::int32_t initial,
                                                std::int32_t flags, const char* help,
                                                const char* text) {
  return storage_->add(__func__, {name, ParamType::Integer, initial, flags, help, text});
}

std::int32_t QuorParameterListDesc::addParamBool(char* name, bool initial, std::int32_t flags,
                                                 const char* help, const char* text) {
  return storage_->add(__func__, {name, ParamType::Boolean, initial ? 1 : 0, flags, help, text});
}

std::int32_t QuorParameterListDesc::addOutputParamTexture(char* name, const char* help,
                                                          const char* text) {
  return storage_->add(__func__, {name, ParamType::ColorOutput, 0, 0, help, text});
}

std::int32_t QuorParameterListDesc::addOutputParamTextureFloat(char* name, const char* help,
                                                               const char* text) {
  return storage_->add(__func__, {name, ParamType::FloatOutput, 0, 0, help, text});
}

std::int32_t QuorParameterListDesc::addOutputParamTextureVector(char* name, const char* help,
                                                                const char* text) {
  return storage_->add(__func__, {name, ParamType::VectorOutput, 0, 0, help, text});
}

std::int32_t QuorParameterListDesc::addOutputParamTextureInt(char* name, const char* help,
                                                             const char* text) {
  return storage_->add(__func__, {name, ParamType::IntegerOutput, 0, 0, help, text});
}

std::int32_t QuorParameterListDesc::addOutputParamTextureTransform(char* name, const char* help,
                                                                   const char* text) {
  return storage_->add(__func__, {name, ParamType::TransformOutput, 0, 0, help, text});
}

std::int32_t QuorParameterListDesc::registerParameters(QuorPluginHost* /*host*/,
                                                       QuorPluginDesc* desc) {
  note(__func__);
  std::erase_if(registrations, [desc](const Registration& r) { return r.desc == desc; });
  registrations.push_back({desc, &storage_->parameters});
  storage_->registeredFor = desc;
  return 1;
}

struct QuorParameterList::Storage {
  /// One parameter of the instance. The value of a texture input is the interface that it is
  /// connected to, that of an output the interface that stands for it.
  struct Slot {
    ParameterInfo info;
    QuorPluginParameter value;
    void* cache;  ///< the plugin's field for an input, or null
    void (*write)(void* cache, const QuorPluginParameter& value);
  };
  std::vector<Slot> slots;
  /// The last name for which there was a field or an output, but no parameter of that kind.
  const char* unknown = nullptr;

  explicit Storage(const std::vector<ParameterInfo>& parameters) {
    slots.reserve(parameters.size());
    for (const ParameterInfo& info : parameters) {
      QuorPluginParameter value{info.name, ParameterKind::Interface, {}};
      value.value.connection = {};
      if (info.type == ParamType::Integer) {
        value.kind = ParameterKind::Integer;
        value.value.integer = info.initial;
      } else if (info.type == ParamType::Boolean) {
        value.kind = ParameterKind::Boolean;
        value.value.boolean = info.initial != 0;
      } else {
        value.value.iface = nullptr;
      }
      slots.push_back({info, value, nullptr, nullptr});
    }
  }

  Slot* find(const char* name) {
    for (Slot& slot : slots) {
      if (std::strcmp(slot.info.name, name) == 0) return &slot;
    }
    return nullptr;
  }

  Slot* find(const char* name, ParamType type) {
    Slot* slot = find(name);
    if (slot != nullptr && slot->info.type == type) return slot;
    unknown = name;
    return nullptr;
  }

  template <class Interface>
  void setCache(const char* name, ParamType type, Interface** cache) {
    note("setParamCache", name);
    Slot* slot = find(name, type);
    if (slot == nullptr) return;
    slot->cache = cache;
    slot->write = [](void* field, const QuorPluginParameter& value) {
      *static_cast<Interface**>(field) = static_cast<Interface*>(value.value.iface);
    };
  }

  void setOutput(const char* name, ParamType type, PluginInterface* output) {
    note("setOutputParamCache", name);
    if (Slot* slot = find(name, type)) slot->value.value.iface = output;
  }
};

namespace {

/// The interface `id` of an object, or of the output of an object; null if it has none.
PluginInterface* resolve(const QuorPluginParameter::Connection& connection, InterfaceId id) {
  if (connection.output == nullptr) return connection.object->getInterface(id);
  auto* plugin =
      static_cast<QuorPluginInterface*>(connection.object->getInterface(EXT_QUOR_PLUGIN));
  if (plugin == nullptr) return nullptr;
  const QuorPluginParameter* output = plugin->getParameter(modifiable(connection.output));
  if (output == nullptr || output->kind != ParameterKind::Interface) return nullptr;
  QuorPluginParameter same = *output;  // an input takes the value that it has, an output takes none
  if (plugin->setParameter(&same) != 0) return nullptr;
  PluginInterface* iface = output->value.iface;
  return iface != nullptr && iface->getInterfaceId() == id ? iface : nullptr;
}

}  // namespace

QuorParameterList* QuorParameterListDesc::newParameterList() {
  note(__func__);
  return new QuorParameterList(new QuorParameterList::Storage(storage_->parameters));
}

void QuorParameterListDesc::deleteParameterList(QuorParameterList* list) {
  note(__func__);
  if (list == nullptr) return;
  delete list->storage_;
  delete list;
}

void QuorParameterList::setParamCache(char* name, TextureInterface** cache) {
  storage_->setCache(name, ParamType::Color, cache);
}

void QuorParameterList::setParamCache(char* name, TextureFloatInterface** cache) {
  storage_->setCache(name, ParamType::Float, cache);
}

void QuorParameterList::setParamCache(char* name, TextureVectorInterface** cache) {
  storage_->setCache(name, ParamType::Vector, cache);
}

void QuorParameterList::setParamCache(char* name, std::int32_t* cache) {
  note(__func__, name);
  Storage::Slot* slot = storage_->find(name);
  if (slot == nullptr || slot->value.kind == ParameterKind::Interface) {
    storage_->unknown = name;
    return;
  }
  slot->cache = cache;
  slot->write = [](void* field, const QuorPluginParameter& value) {
    const bool isInteger = value.kind == ParameterKind::Integer;
    *static_cast<std::int32_t*>(field) = isInteger ? value.value.integer : value.value.boolean;
  };
}

void QuorParameterList::setOutputParamCache(char* name, TextureInterface* output) {
  storage_->setOutput(name, ParamType::ColorOutput, output);
}

void QuorParameterList::setOutputParamCache(char* name, TextureFloatInterface* output) {
  storage_->setOutput(name, ParamType::FloatOutput, output);
}

void QuorParameterList::setOutputParamCache(char* name, TextureVectorInterface* output) {
  storage_->setOutput(name, ParamType::VectorOutput, output);
}

void QuorParameterList::setOutputParamCache(char* name, TextureIntInterface* output) {
  storage_->setOutput(name, ParamType::IntegerOutput, output);
}

void QuorParameterList::setOutputParamCache(char* name, TextureTransformInterface* output) {
  storage_->setOutput(name, ParamType::TransformOutput, output);
}

std::int32_t QuorParameterList::setParameter(QuorPluginParameter* param) {
  note(__func__, param->name);
  Storage::Slot* slot = storage_->find(param->name);
  if (slot == nullptr || slot->info.isOutput()) return 0;

  if (slot->value.kind != ParameterKind::Interface) {
    if (param->kind != slot->value.kind) return 0;
    slot->value.value = param->value;
    return 1;
  }

  const InterfaceId id = slot->info.kind().texture;
  PluginInterface* texture = nullptr;
  if (param->kind == ParameterKind::Object && param->value.connection.object != nullptr) {
    texture = resolve(param->value.connection, id);
    if (texture == nullptr) return 0;
  } else if (param->kind == ParameterKind::Interface && param->value.iface != nullptr) {
    texture = param->value.iface;
    if (texture->getInterfaceId() != id) return 0;
  } else if (param->kind != ParameterKind::Object && param->kind != ParameterKind::Interface) {
    return 0;
  }
  slot->value.value.iface = texture;
  return 1;
}

QuorPluginParameter* QuorParameterList::getParam(char* name) {
  Storage::Slot* slot = storage_->find(name);
  return slot != nullptr ? &slot->value : nullptr;
}

void QuorPluginInterface::frameBegin(QuorRenderer* /*renderer*/) {
  note(__func__);
  if (paramList == nullptr) return;
  for (const auto& slot : paramList->storage_->slots) {
    if (slot.cache != nullptr) slot.write(slot.cache, slot.value);
  }
}

}  // namespace QUtils
