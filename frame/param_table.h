#pragma once

#include <concepts>
#include <span>
#include <type_traits>

#include "frame/plugin.h"

/// A plugin's parameters as a table: a row per parameter, made from the field that caches the input
/// or the member that is the output. The field's type says the parameter's kind. One list of rows
/// describes the plugin kind, another binds an instance; their orders may differ.
namespace samplerinfo {

/// One parameter of the plugin class `P`.
template <class P>
struct ParamRow {
  const char* name;
  const char* help;
  std::int32_t initial;  ///< default of an integer or boolean
  void (*describe)(QUtils::QuorParameterListDesc& desc, const ParamRow& row);
  void (*bind)(QUtils::QuorParameterList& list, const ParamRow& row, P& plugin);
};

namespace detail {

// What the host does not ask of this library's parameters: no flags, no further text.
inline constexpr std::int32_t kFlags = -1;
inline constexpr const char* kText = nullptr;

/// Adds a parameter whose field or output is a `Member`. `Initial` tells a boolean from an integer:
/// both are cached in a 32-bit integer, as the host has no boolean cache.
template <class Member, class Initial>
void addTo(QUtils::QuorParameterListDesc& desc, char* name, const char* help,
           std::int32_t initial) {
  using namespace QUtils;
  if constexpr (std::same_as<Member, TextureInterface*>) {
    desc.addParamTexture(name, kFlags, help, kText);
  } else if constexpr (std::same_as<Member, TextureFloatInterface*>) {
    desc.addParamTextureFloat(name, kFlags, help, kText);
  } else if constexpr (std::same_as<Member, TextureVectorInterface*>) {
    desc.addParamTextureVector(name, kFlags, help, kText);
  } else if constexpr (std::same_as<Member, std::int32_t> && std::same_as<Initial, bool>) {
    desc.addParamBool(name, initial != 0, kFlags, help, kText);
  } else if constexpr (std::same_as<Member, std::int32_t>) {
    desc.addParamInt(name, initial, kFlags, help, kText);
  } else if constexpr (std::derived_from<Member, TextureInterface>) {
    desc.addOutputParamTexture(name, help, kText);
  } else if constexpr (std::derived_from<Member, TextureFloatInterface>) {
    desc.addOutputParamTextureFloat(name, help, kText);
  } else if constexpr (std::derived_from<Member, TextureVectorInterface>) {
    desc.addOutputParamTextureVector(name, help, kText);
  } else if constexpr (std::derived_from<Member, TextureIntInterface>) {
    desc.addOutputParamTextureInt(name, help, kText);
  } else {
    static_assert(std::derived_from<Member, TextureTransformInterface>, "not a kind of parameter");
    desc.addOutputParamTextureTransform(name, help, kText);
  }
}

template <class Pointer>
struct MemberPointer;
template <class P, class M>
struct MemberPointer<M P::*> {
  using Owner = P;
  using Member = M;
};

}  // namespace detail

/// The row of the parameter that `Member`, a pointer to member, caches or is.
template <auto Member, class Initial = std::int32_t>
constexpr auto param(const char* name, const char* help, Initial initial = {}) {
  using P = typename detail::MemberPointer<decltype(Member)>::Owner;
  using M = typename detail::MemberPointer<decltype(Member)>::Member;
  return ParamRow<P>{name, help, static_cast<std::int32_t>(initial),
                     [](QUtils::QuorParameterListDesc& desc, const ParamRow<P>& row) {
                       detail::addTo<M, Initial>(desc, QUtils::modifiable(row.name), row.help, row.initial);
                     },
                     [](QUtils::QuorParameterList& list, const ParamRow<P>& row, P& plugin) {
                       // Unlike std::derived_from this also holds for an output that has several
                       // interfaces.
                       if constexpr (std::is_base_of_v<QUtils::PluginInterface, M>) {
                         list.setOutputParamCache(QUtils::modifiable(row.name), &(plugin.*Member));
                       } else {
                         list.setParamCache(QUtils::modifiable(row.name), &(plugin.*Member));
                       }
                     }};
}

/// Adds the parameters to the description, in the order of the rows.
template <class P>
void describe(QUtils::QuorParameterListDesc& desc, std::span<const ParamRow<P>> rows) {
  for (const ParamRow<P>& row : rows) row.describe(desc, row);
}

/// Registers the fields and outputs of `plugin` with its parameter list, in the order of the rows.
template <class P>
void bind(QUtils::QuorParameterList& list, std::type_identity_t<std::span<const ParamRow<P>>> rows,
          P& plugin) {
  for (const ParamRow<P>& row : rows) row.bind(list, row, plugin);
}

}  // namespace samplerinfo
