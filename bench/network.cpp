#include "bench/network.h"

#include <dlfcn.h>

#include <algorithm>
#include <stdexcept>

namespace bench {

Library::Library() : module_(dlopen(SAMPLERINFO_MODULE, RTLD_NOW | RTLD_LOCAL)) {
  if (module_ == nullptr) throw std::runtime_error(dlerror());
  using GetLibDesc = PluginLibDesc* (*)();
  desc_ = reinterpret_cast<GetLibDesc>(dlsym(module_, "getLibDesc"))();
}

Library::~Library() { dlclose(module_); }

std::int32_t Library::plugins() const { return desc_->enumPluginDescs(nullptr); }

QuorPluginDesc& Library::descriptor(const std::string& plugin) const {
  struct Finder final : PluginDescVisitor {
    explicit Finder(const std::string& wanted) : name(wanted) {}
    std::int32_t visitPluginDesc(PluginDesc* desc) override {
      if (desc->getPluginName() != name) return 1;
      found = static_cast<QuorPluginDesc*>(desc);
      return 0;
    }
    const std::string& name;
    QuorPluginDesc* found = nullptr;
  } finder(plugin);
  desc_->enumPluginDescs(&finder);
  if (finder.found == nullptr) throw std::runtime_error("the library has no " + plugin);
  return *finder.found;
}

namespace {

/// The pair of that name, which exists, with a twin of its own.
twins::Pair pairNamed(const std::string& name) {
  std::vector<twins::Pair> pairs = twins::pairs();
  const auto found = std::ranges::find(pairs, name, &twins::Pair::name);
  if (found == pairs.end()) throw std::runtime_error("there is no pair " + name);
  return *found;
}

}  // namespace

Network::Network(const Library& library, const std::vector<Node>& nodes) {
  for (const Node& node : nodes) {
    twins::Pair pair = pairNamed(node.pair);
    QuorPluginDesc& desc = library.descriptor(pair.plugin);
    PluginBase* object = desc.newPlugin(nullptr);
    auto* plugin = static_cast<QuorPluginInterface*>(object->getInterface(EXT_QUOR_PLUGIN));
    if (!pair.setting.empty()) {
      const bool isMode = pair.setting == "mode";
      QuorPluginParameter number{
          pair.setting.c_str(), isMode ? ParameterKind::Integer : ParameterKind::Boolean, {}};
      if (isMode) {
        number.value.integer = pair.setTo;
      } else {
        number.value.boolean = pair.setTo != 0;
      }
      plugin->setParameter(&number);
    }
    for (std::size_t i = 0; i < node.sources.size(); ++i) {
      const int source = node.sources[i];
      if (source == Node::kAbsent) continue;
      const std::string& input = pair.inputs.at(i);
      PluginInterface* constant = source == Node::kConstant ? constantFor(input) : nullptr;
      const auto* from =
          constant == nullptr ? &instances_.at(static_cast<std::size_t>(source)) : nullptr;
      QuorPluginParameter connection{input.c_str(), ParameterKind::Interface, {}};
      connection.value.iface = constant != nullptr ? constant : from->texture;
      plugin->setParameter(&connection);
      pair.connect(i, constant != nullptr ? constant : from->pair.twin.get());
    }
    PluginInterface* texture =
        pair.output.empty() ? object->getInterface(EXT_TEXTURE)
                            : plugin->getParameter(modifiable(pair.output.c_str()))->value.iface;
    plugin->renderBegin(nullptr);
    libraryTexture = texture;
    twinTexture = pair.twin.get();
    instances_.push_back({&desc, object, plugin, texture, std::move(pair)});
  }
  frameBegin();
}

Network::~Network() {
  for (const Instance& instance : instances_) instance.desc->deletePlugin(instance.object);
}

void Network::frameBegin() {
  for (const Instance& instance : instances_) instance.plugin->frameBegin(nullptr);
  twins::clipPlanes().computed = 0;
}

PluginInterface* Network::constantFor(const std::string& input) {
  const float x = 0.75F + 0.25F * static_cast<float>(constants_.size());
  const auto keep = [&](auto constant) {
    constant->gradient = {x, 3, 2};
    return constants_.emplace_back(std::move(constant)).get();
  };
  if (input.starts_with("color")) {
    auto constant = std::make_unique<standin::ConstantColor>(AColor{x, x + 1, x + 2, 1});
    constant->lo = {-x, 0, 1, 0};
    return keep(std::move(constant));
  }
  if (input.starts_with("vector")) {
    auto constant = std::make_unique<standin::ConstantVector>(Vector{x, x + 1, x + 2});
    constant->lo = {-x, 0, 1};
    return keep(std::move(constant));
  }
  auto constant = std::make_unique<standin::ConstantFloat>(x);
  constant->lo = -x;
  return keep(std::move(constant));
}

}  // namespace bench
