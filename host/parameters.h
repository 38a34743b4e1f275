// SPDX-License-Identifier: MIT
#pragma once

#include "frame/texture_interfaces.h"

/// The host's parameter machinery: a description per plugin kind, a list of values per instance.
/// Names are passed as modifiable texts, as the host's library wants them, and are not modified.
namespace QUtils {

/// A name as the host's library takes it.
inline char* modifiable(const char* name) { return const_cast<char*>(name); }

class QuorPluginDesc;
class QuorPluginHost;
class QuorParameterList;

/// What the value of a `QuorPluginParameter` is.
enum class ParameterKind : std::int32_t {
  Integer,
  Boolean,
  Object,    ///< an object, or one of its outputs
  Interface  ///< a ready-made interface, such as a texture; null disconnects the parameter
};

/// A parameter value on its way between the host and a plugin. Owns nothing.
struct QuorPluginParameter {
  /// `output` names an output parameter of `object`; null means the object itself.
  struct Connection {
    PluginBase* object;
    const char* output;
  };
  union Value {
    std::int32_t integer;
    bool boolean;
    Connection connection;
    PluginInterface* iface;
  };

  const char* name;
  ParameterKind kind;
  Value value;
};

/// The parameters of one plugin kind, inputs and outputs, in the order in which they were added.
/// Every descriptor embeds one: its size is part of the contract. The results of the add operations
/// are 1 for success. Not for more than one thread at a time.
class QuorParameterListDesc {
 public:
  QUOR_API QuorParameterListDesc();
  QUOR_API ~QuorParameterListDesc();
  QuorParameterListDesc(const QuorParameterListDesc&) = delete;
  QuorParameterListDesc& operator=(const QuorParameterListDesc&) = delete;

  QUOR_API std::int32_t addParamTexture(char* name, std::int32_t flags, const char* help,
                                        const char* text);
  QUOR_API std::int32_t addParamTextureFloat(char* name, std::int32_t flags, const char* help,
                                             const char* text);
  QUOR_API std::int32_t addParamTextureVector(char* name, std::int32_t flags, const char* help,
                                              const char* text);
  QUOR_API std::int32_t addParamInt(char* name, std::int32_t initial, std::int32_t flags,
                                    const char* help, const char* text);
  QUOR_API std::int32_t addParamBool(char* name, bool initial, std::int32_t flags, const char* help,
                                     const char* text);

  QUOR_API std::int32_t addOutputParamTexture(char* name, const char* help, const char* text);
  QUOR_API std::int32_t addOutputParamTextureFloat(char* name, const char* help, const char* text);
  QUOR_API std::int32_t addOutputParamTextureVector(char* name, const char* help, const char* text);
  QUOR_API std::int32_t addOutputParamTextureInt(char* name, const char* help, const char* text);
  QUOR_API std::int32_t addOutputParamTextureTransform(char* name, const char* help,
                                                       const char* text);

  /// Makes the parameters known to `host` for plugins of `desc`.
  QUOR_API std::int32_t registerParameters(QuorPluginHost* host, QuorPluginDesc* desc);

  /// A list for one plugin instance, every value at its default. Given back to
  /// `deleteParameterList`.
  QUOR_API QuorParameterList* newParameterList();
  QUOR_API void deleteParameterList(QuorParameterList* list);

 private:
  struct Storage;
  Storage* storage_;
};

static_assert(sizeof(QuorParameterListDesc) == sizeof(void*));

/// The parameter values of one plugin instance, with the fields and the outputs that stand for
/// them. The fields registered with `setParamCache` are written by the default `frameBegin`.
/// [set-up thread], `getParam` [any thread]
class QuorParameterList {
 public:
  QuorParameterList(const QuorParameterList&) = delete;
  QuorParameterList& operator=(const QuorParameterList&) = delete;

  QUOR_API void setParamCache(char* name, TextureInterface** cache);
  QUOR_API void setParamCache(char* name, TextureFloatInterface** cache);
  QUOR_API void setParamCache(char* name, TextureVectorInterface** cache);
  QUOR_API void setParamCache(char* name, std::int32_t* cache);

  QUOR_API void setOutputParamCache(char* name, TextureInterface* output);
  QUOR_API void setOutputParamCache(char* name, TextureFloatInterface* output);
  QUOR_API void setOutputParamCache(char* name, TextureVectorInterface* output);
  QUOR_API void setOutputParamCache(char* name, TextureIntInterface* output);
  QUOR_API void setOutputParamCache(char* name, TextureTransformInterface* output);

  /// Stores a value; returns 1, or 0 if there is no such input or the value is not of its kind.
  QUOR_API std::int32_t setParameter(QuorPluginParameter* param);

  /// The current value of an input, or the texture of an output (of kind `Interface`); null if
  /// there is no such parameter. Valid until the next call with the same name.
  QUOR_API QuorPluginParameter* getParam(char* name);

 private:
  friend class QuorParameterListDesc;
  friend class QuorPluginInterface;
  struct Storage;
  explicit QuorParameterList(Storage* storage) : storage_(storage) {}
  ~QuorParameterList() = default;
  Storage* storage_;
};

static_assert(sizeof(QuorParameterList) == sizeof(void*));

}  // namespace QUtils
