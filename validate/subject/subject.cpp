// SPDX-License-Identifier: MIT
#include "validate/subject/subject.h"

#include <utility>

#include "validate/subject/host.h"
#include "validate/system/process.h"

namespace validate {

Loaded::Loaded() {
  std::string why;
  handle_ = openModule(trial.module, why);
  if (handle_ == nullptr) fail("cannot be loaded: " + why);
}

Loaded::~Loaded() { closeModule(handle_); }

void* Loaded::library() const {
  auto* const getLibDesc = reinterpret_cast<void* (*)()>(symbolOf(handle_, "getLibDesc"));
  if (getLibDesc == nullptr) fail("exports no getLibDesc");
  void* const answer = getLibDesc();
  if (answer == nullptr) failExpectation("getLibDesc", "null", "an object");
  return answer;
}

void* library() {
  static const auto* const module = new Loaded;
  return module->library();
}

namespace {

struct Visitor {
  void* const* table;
  int left;
  const std::function<void()>& meanwhile;
  std::vector<void*> descs;
};
std::int32_t visit(Visitor* visitor, void* desc) {
  if (desc == nullptr) fail("enumPluginDescs: got null, expected a descriptor");
  visitor->descs.push_back(desc);
  if (visitor->meanwhile) visitor->meanwhile();
  return --visitor->left != 0 ? 256 : 0;  // anything but 0 goes on
}
const Table visitorTable{PluginDescVisitor::visitPluginDesc.entry<visit>()};

}  // namespace

Enumeration enumerate(void* libraryDescriptor, int atMost, const std::function<void()>& meanwhile) {
  Visitor visitor{visitorTable.slots, atMost, meanwhile, {}};
  const std::int32_t answer = PluginLibDesc::enumPluginDescs(libraryDescriptor, &visitor);
  return {answer, visitor.descs};
}

Registered::Registered(std::vector<void*> all) : descs(std::move(all)) {
  void* const* host = hostTable.slots;
  for (void* desc : descs) PluginDesc::registerPlugin(desc, &host);
}
Registered::~Registered() {
  void* const* host = hostTable.slots;
  for (void* desc : descs) PluginDesc::unregisterPlugin(desc, &host);
}

const std::vector<void*>& descriptors() {
  static const auto* const registered = new Registered(enumerate(library()).descs);
  if (registered->descs.empty()) skip("the library has no plugins");
  return registered->descs;
}

void* descriptor(const std::string& name) {
  for (void* desc : descriptors()) {
    if (nameOf(desc) == name) return desc;
  }
  fail("no plugin is named " + name);
}

std::string nameOf(void* desc) {
  const char* name = PluginDesc::getPluginName(desc);
  return name != nullptr ? name : "a plugin without a name";
}

bool areParametersRegistered(void* desc) {
  void* const description = words(desc)[kParametersOfDesc];
  return description != nullptr &&
         static_cast<const ParameterInfos*>(words(description)[0])->registeredFor == desc;
}

std::span<const ParameterInfo> parametersOf(void* desc) {
  void* const description = words(desc)[kParametersOfDesc];
  if (description == nullptr) return {};
  const auto* infos = static_cast<const ParameterInfos*>(words(description)[0]);
  for (const ParameterInfo* info = infos->first; info != infos->last; ++info) {
    if (info->name == nullptr) {
      fail(nameOf(desc) + ": a parameter's name: got null, expected a text");
    }
  }
  return {infos->first, infos->last};
}

Instance::Instance(void* desc) : desc_(desc), name_(nameOf(desc)) {
  calling.of = name_.c_str();
  object_ = PluginDesc::newPlugin(desc, nullptr);
  if (object_ == nullptr) fail(name() + ".newPlugin: got null, expected an object");
  part_ = PluginBase::getInterface(object(), EXT_QUOR_PLUGIN);
  if (part_ == nullptr) {
    fail(name() + ".getInterface(EXT_QUOR_PLUGIN): got null, expected an object");
  }
}

void* Instance::called() const {
  calling.of = name_.c_str();
  return part_;
}

std::int32_t Instance::connect(const char* input, void* texture) const {
  QuorPluginParameter value{input, ParameterKind::Interface, {}};
  value.value.iface = texture;
  return QuorPluginInterface::setParameter(called(), &value);
}

std::int32_t Instance::set(const char* parameter, ParameterKind kind, std::int32_t value) const {
  QuorPluginParameter record{parameter, kind, {value}};
  if (kind == ParameterKind::Boolean) record.value.boolean = value != 0;
  const std::string setting = std::string(", ") + parameter + " = " + text(value);
  calling.setting = setting.c_str();
  return QuorPluginInterface::setParameter(called(), &record);
}

QuorPluginParameter* Instance::find(const char* parameter) const {
  return QuorPluginInterface::getParameter(called(), parameter);
}

QuorPluginParameter& Instance::parameter(const char* parameter) const {
  QuorPluginParameter* const found = find(parameter);
  if (found == nullptr) {
    failExpectation(name() + ".getParameter(" + text(parameter) + ")", "null", "a parameter");
  }
  return *found;
}

void* Instance::texture(const char* output) const {
  const QuorPluginParameter* found = find(output);
  return found != nullptr && found->kind == ParameterKind::Interface ? found->value.iface : nullptr;
}

Instance::~Instance() {
  if (object_ == nullptr) return;
  endRender();
  PluginDesc::deletePlugin(desc_, object_);
}

void Instance::beginRender() const {
  if (!std::exchange(rendering_, true)) QuorPluginInterface::renderBegin(called(), nullptr);
}

void Instance::beginFrame() const {
  beginRender();
  if (std::exchange(inFrame_, true)) QuorPluginInterface::frameEnd(called(), nullptr);
  std::string absent, numbers;
  for (const ParameterInfo& info : parametersOf(desc_)) {
    const QuorPluginParameter* const input = isOutput(info) ? nullptr : find(info.name);
    if (input == nullptr) continue;
    const auto& value = input->value;
    if (isTextureInput(info) && value.iface == nullptr) {
      absent += (absent.empty() ? ", no input connected to " : ", ") + std::string(info.name);
    } else if (info.type == ParameterType::Integer && value.integer != info.initial) {
      numbers += std::string(", ") + info.name + " = " + text(value.integer);
    }
  }
  setting_ = absent + numbers;
  calling.setting = setting();
  QuorPluginInterface::frameBegin(called(), nullptr);
}

void Instance::endRender() const {
  if (std::exchange(inFrame_, false)) QuorPluginInterface::frameEnd(called(), nullptr);
  if (std::exchange(rendering_, false)) QuorPluginInterface::renderEnd(called(), nullptr);
}

}  // namespace validate
