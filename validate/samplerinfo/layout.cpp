// SPDX-License-Identifier: MIT
#include <string_view>

#include "validate/checks/added_interface.h"
#include "validate/subject/host.h"
#include "validate/subject/subject.h"

namespace validate {

namespace {

CHECK(samplerinfo, descriptors,
      "a descriptor is its base, then its description, and has nothing else to say") {
  expect("interfaces of the library descriptor", words(library())[kInterfacesOfBase], nullptr);
  for (void* desc : descriptors()) {
    void** const parts = words(desc);
    expect(nameOf(desc) + ": interfaces", parts[kInterfacesOfBase], nullptr);
    expect(nameOf(desc) + ": description", parts[kParametersOfDesc], &parts[kParametersOfDesc + 1]);
    expect(nameOf(desc) + ".getExtraInfo()", PluginDesc::getExtraInfo(desc), nullptr);
  }
}

CHECK(samplerinfo, interface_list,
      "an entry of an object's interfaces is the interface, its flag and the next entry") {
  const Instance instance(descriptor("TexFloatOp"));
  AddedInterface older(1), newer(2);
  PluginBase::addInterface(instance.object(), &older, 0);
  PluginBase::addInterface(instance.object(), &newer, 1);
  void** const first = words(words(instance.object())[kInterfacesOfBase]);
  void** const second = words(first[2]);
  expect("first interface", first[0], &newer);
  expect("second interface", second[0], &older);
  expect("entry behind them", second[2], nullptr);
  expect("first flag", *reinterpret_cast<std::int32_t*>(&first[1]), 1);
  expect("second flag", *reinterpret_cast<std::int32_t*>(&second[1]), 0);
  PluginBase::removeInterface(instance.object(), &older);
  PluginBase::removeInterface(instance.object(), &newer);
}

CHECK(samplerinfo, copies,
      "an output is its table and the copies of its inputs, made as a frame begins") {
  struct Row {
    const char *plugin, *input, *output;
    TextureKind kind;
  };
  for (const Row& row : {Row{"TexFloatOp", "float_a", "difference", TextureKind::Float},
                         {"TexVectorOp", "vector_a", "difference", TextureKind::Vector},
                         {"TexAColorOp", "color_a", "difference", TextureKind::Color},
                         {"TexAColorOp", "color_a", "red", TextureKind::Color}}) {
    Input input(row.kind);
    const Instance instance(descriptor(row.plugin));
    const std::string output = std::string(row.plugin) + '.' + row.output;
    void** const copies = words(instance.texture(row.output)) + 1;
    expect(output + ": copy before it is connected", *copies, nullptr);
    instance.connect(row.input, &input);
    expect(output + ": copy before the frame", *copies, nullptr);
    instance.beginFrame();
    expect(output + ": copy", *copies, &input);
  }
  const Instance sampler(descriptor("TexSampler"));
  expect("behind TexSampler.camToWorld, which is nothing but its table",
         sampler.texture("view_dir"), words(sampler.texture("camToWorld")) + 1);
  expect("behind TexSampler.material_id, which is nothing but its table",
         sampler.texture("flipped_normal"), words(sampler.texture("material_id")) + 1);
}

// Two outputs are objects as well, one of which says so.
CHECK(samplerinfo, objects,
      "of the outputs only a TexAColorOp's intensity is an object, to which its interfaces lead") {
  for (const Instance& instance : Instances()) {
    for (const ParameterInfo& info : parametersOf(instance.desc())) {
      if (!isOutput(info)) continue;
      void* const texture = instance.texture(info.name);
      const std::string output = instance.name() + '.' + info.name;
      expect(output + ".getPlugin() is an object", PluginInterface::getPlugin(texture) != nullptr,
             std::string_view(info.name) == "intensity");
      expect(output + ".getInterfaceName()", PluginInterface::getInterfaceName(texture),
             kTextureIds[kindOf(info)].name);
    }
  }
  Input a(TextureKind::Color);
  const Instance instance(descriptor("TexAColorOp"));
  void** const red = words(instance.texture("red")) - 2;
  expect("red, as an object", virtualTable(red)[PluginBase::addInterface.slot()],
         virtualTable(instance.object())[PluginBase::addInterface.slot()]);
  expect("interfaces of red", red[kInterfacesOfBase], nullptr);

  void* const intensity = instance.texture("intensity");
  void** const object = words(PluginInterface::getPlugin(intensity));
  void* const shader = PluginBase::getInterface(object, EXT_RTTEX);
  expect("the texture of intensity", intensity, &object[2]);
  expect("the EXT_RTTEX of intensity", shader, &object[3]);
  instance.connect("color_a", &a);
  instance.beginFrame();
  expect("the copy of intensity", words(shader)[1], &a);
  expect("the color_a that TexAColorOp keeps", words(instance.object())[8], &a);
}

CHECK(samplerinfo, shader_source,
      "requests for shader source of the right kind reach the host with the texture of color_a") {
  static ShaderSource source{};
  static OclData data{};
  Input a(TextureKind::Color);
  const Instance instance(descriptor("TexAColorOp"));
  void* const intensity = PluginInterface::getPlugin(instance.texture("intensity"));
  struct Row {
    Input* texture;
    void* object;
    std::string kind;
  };
  for (const Row& row : {Row{nullptr, instance.object(), "color"},
                         {nullptr, intensity, "float"},
                         {&a, instance.object(), "color"},
                         {&a, intensity, "float"}}) {
    instance.connect("color_a", row.texture);
    instance.beginFrame();
    void* const shader = PluginBase::getInterface(row.object, EXT_RTTEX);
    const auto expectAnswer = [&](const std::string& output, const std::string& descriptorKind,
                                  std::int32_t expected) {
      const std::string asked = "getShaderSource of " + row.kind + " for " + text(output) +
                                " and " + text(descriptorKind);
      const std::int32_t before = data.requests;
      expect(asked,
             RTTexInterface::getShaderSource(shader, output.c_str(), "second",
                                             descriptorKind.c_str(), &source, &data),
             expected);
      expect(asked + ": requests that reach the host", data.requests - before, expected);
      if (expected == 0) return;
      const ShaderRequest& last = source.last[-1];
      expect(asked + ": object", last.self, shader);
      expect(asked + ": texture", last.texture, row.texture);
      expect(asked + ": output", last.outputName, output.c_str());
      expect(asked + ": second name", last.secondName, "second");
      expect(asked + ": descriptor kind", last.descriptorKind, descriptorKind.c_str());
    };
    RTTexInterface::setShaderInfo(shader, &source);
    expect("getShaderInfo", RTTexInterface::getShaderInfo(shader), nullptr);
    expectAnswer(row.kind, "MaterialDescriptor", 1);
    for (const std::string other :
         {"Color", "Float", "color ", "float ", "colo", "floa", "vector", "", "materialDescriptor",
          "MaterialDescriptor ", "MaterialDescripto"}) {
      expectAnswer(other, "MaterialDescriptor", 0);
      expectAnswer(row.kind, other, 0);
    }
  }
}

}  // namespace

}  // namespace validate
