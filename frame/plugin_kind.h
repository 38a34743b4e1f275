// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <concepts>
#include <span>
#include <string_view>
#include <type_traits>

#include "frame/output_tex.h"
#include "frame/plugin.h"

/// What the file of a plugin tells the rest of the library: its kind, and that only.
namespace samplerinfo {

/// A kind of plugin, as its descriptor presents it to the host.
struct PluginKind {
  const char* name;
  std::uint64_t id;
  std::span<const InterfaceId> interfaces;  ///< those that are announced
  void (*describe)(QuorParameterListDesc& desc);
  PluginBase* (*make)(QuorPluginDesc* maker);
};

extern const PluginKind kTexSampler;
extern const PluginKind kTexVectorOp;
extern const PluginKind kTexFloatOp;
extern const PluginKind kTexAColorOp;
extern const PluginKind kFloat3ToAColor;

/// One parameter of the plugin class `P`: a row made from the field that caches the input or from
/// the member that is the output. The field's type says the parameter's kind.
template <class P>
struct ParamRow {
  const char* name;
  const char* help;
  std::int32_t initial;  ///< default of an integer or boolean
  void (*describe)(QuorParameterListDesc& desc, const ParamRow& row);
  void (*bind)(QuorParameterList& list, const ParamRow& row, P& plugin);
};

namespace detail {

// What every parameter of this library passes as `flags` and `text`, the two further arguments of
// the host's add operations.
inline constexpr std::int32_t kFlags = -1;
inline constexpr const char* kText = nullptr;

/// Adds a parameter whose field or output is a `Member`. `Initial` tells a boolean from an integer:
/// both are cached in a 32-bit integer, as the host has no boolean cache.
template <class Member, class Initial>
void addTo(QuorParameterListDesc& desc, char* name, const char* help, std::int32_t initial) {
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

// The two types of a pointer to member; never called.
template <class P, class M>
P ownerOf(M P::*);
template <class P, class M>
M memberOf(M P::*);

}  // namespace detail

/// The row of the parameter that `kMember`, a pointer to member, caches or is.
template <auto kMember, class Initial = std::int32_t>
constexpr auto param(const char* name, const char* help, Initial initial = {}) {
  using P = decltype(detail::ownerOf(kMember));
  using M = decltype(detail::memberOf(kMember));
  return ParamRow<P>{name, help, static_cast<std::int32_t>(initial),
                     [](QuorParameterListDesc& desc, const ParamRow<P>& row) {
                       detail::addTo<M, Initial>(desc, modifiable(row.name), row.help, row.initial);
                     },
                     [](QuorParameterList& list, const ParamRow<P>& row, P& plugin) {
                       // Unlike std::derived_from this also holds for an output that has several
                       // interfaces.
                       if constexpr (std::is_base_of_v<PluginInterface, M>) {
                         list.setOutputParamCache(modifiable(row.name), &(plugin.*kMember));
                       } else {
                         list.setParamCache(modifiable(row.name), &(plugin.*kMember));
                       }
                     }};
}

/// `rows` with the row `name` moved in front of the row `next`, or to the end if none is named.
template <class Rows>
consteval Rows withMoved(Rows rows, std::string_view name, std::string_view next = {}) {
  const auto find = [&rows](std::string_view wanted) {
    return std::ranges::find(rows, wanted,
                             [](const auto& row) { return std::string_view(row.name); });
  };
  const auto from = find(name);
  const auto to = find(next);
  if (from == rows.end() || (to == rows.end()) != next.empty()) throw "no such row";
  if (from < to) {
    std::rotate(from, from + 1, to);
  } else {
    std::rotate(to, from, from + 1);
  }
  return rows;
}

/// Registers the fields and outputs of `plugin` with its parameter list, in the order of the rows.
template <class Rows, class P>
void registerCaches(QuorParameterList& list, const Rows& rows, P& plugin) {
  for (const ParamRow<P>& row : rows) row.bind(list, row, plugin);
}

inline constexpr InterfaceId kQuorPluginOnly[] = {EXT_QUOR_PLUGIN};

/// The kind of the plugin class `P`, described by `kRows` in their order.
template <class P, const auto& kRows>
constexpr PluginKind pluginKind(const char* name, std::uint64_t id,
                                std::span<const InterfaceId> interfaces = kQuorPluginOnly) {
  return {name, id, interfaces,
          [](QuorParameterListDesc& desc) {
            for (const ParamRow<P>& row : kRows) row.describe(desc, row);
          },
          [](QuorPluginDesc* maker) -> PluginBase* { return new P(maker); }};
}

}  // namespace samplerinfo
