// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <iterator>
#include <span>

#include "frame/plugin_desc.h"
#include "host/api.h"

/// What the stand-in for the host's SDK library shows beyond the contract, for the programs around
/// it. For the thread that sets things up.
namespace standin {

/// The kinds of parameters that can be added to a description.
enum class ParamType : std::int32_t {
  Color,
  Float,
  Vector,
  Integer,
  Boolean,
  ColorOutput,
  FloatOutput,
  VectorOutput,
  IntegerOutput,
  TransformOutput
};

struct ParamKind {
  const char* value;            ///< what its values are
  const char* role;             ///< behind that word; empty for numbers
  QUtils::InterfaceId texture;  ///< the interface of its textures; 0 for numbers
};

/// In the order of `ParamType`.
inline constexpr ParamKind kParamKinds[] = {
    {"color", " input", QUtils::EXT_TEXTURE},
    {"float", " input", QUtils::EXT_TEXTURE_FLOAT},
    {"vector", " input", QUtils::EXT_TEXTURE_VECTOR},
    {"integer", "", 0},
    {"boolean", "", 0},
    {"color", " output", QUtils::EXT_TEXTURE},
    {"float", " output", QUtils::EXT_TEXTURE_FLOAT},
    {"vector", " output", QUtils::EXT_TEXTURE_VECTOR},
    {"integer", " output", QUtils::EXT_TEXTURE_INT},
    {"transform", " output", QUtils::EXT_TEXTURE_TRANSFORM},
};
static_assert(std::size(kParamKinds) == static_cast<std::size_t>(ParamType::TransformOutput) + 1);

/// One add operation with its arguments, as it was called. The texts belong to the caller's
/// library.
struct ParameterInfo {
  const char* name;
  ParamType type;
  std::int32_t initial;  ///< of an integer or a boolean, else 0
  std::int32_t flags;    ///< of an input, else 0
  const char* help;
  const char* text;

  const ParamKind& kind() const { return kParamKinds[static_cast<std::size_t>(type)]; }
  bool isOutput() const { return type >= ParamType::ColorOutput; }
};

/// The parameters that `desc` has registered; empty if it has not. Valid while its description
/// lives.
QUOR_API std::span<const ParameterInfo> registeredParameters(const QUtils::QuorPluginDesc* desc);

/// Is told of every call of the parameter machinery, the default `frameBegin` included: the
/// operation and the parameter's name, or null where there is none.
class CallListener {
 public:
  virtual void called(const char* operation, const char* name) = 0;

 protected:
  ~CallListener() = default;
};

/// Sets the one listener, or none with null. Not owned.
QUOR_API void listenToCalls(CallListener* listener);

}  // namespace standin
