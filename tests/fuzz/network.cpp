// SPDX-License-Identifier: MIT
// Any bytes as a network: which plugins, how they are connected, and the bits of all numbers. Every
// output is asked everything, twice.

#include <fuzzer/FuzzedDataProvider.h>

#include <bit>
#include <cstdlib>
#include <deque>

#include "standin/introspection.h"
#include "standin/textures.h"
#include "tests/support/library.h"
#include "tests/support/shading_host.h"

namespace {

using namespace QUtils;

class Bytes : public FuzzedDataProvider {
 public:
  using FuzzedDataProvider::FuzzedDataProvider;

  void fill(float& number) { number = std::bit_cast<float>(ConsumeIntegral<std::uint32_t>()); }
  void fill(double& number) { number = std::bit_cast<double>(ConsumeIntegral<std::uint64_t>()); }
  void fill(std::int32_t& number) { number = ConsumeIntegral<std::int32_t>(); }
  void fill(Vector& v) { fill(v.x), fill(v.y), fill(v.z); }
  void fill(DVector& v) { fill(v.x), fill(v.y), fill(v.z); }
  void fill(AColor& c) { fill(c.r), fill(c.g), fill(c.b), fill(c.a); }
  void fill(PreciseTransform& t) { fill(t.c0), fill(t.c1), fill(t.c2), fill(t.offset); }

  template <class Texture>
  PluginInterface* addTo(std::deque<Texture>& textures) {
    Texture& texture = textures.emplace_back();
    fill(texture.value), fill(texture.lo), fill(texture.hi), fill(texture.gradient);
    return &texture;
  }
};

void fill(test::ShadingHost& host, Bytes& bytes) {
  ShadingContext& sc = host.sc;
  for (Vector* vector : {&host.uvw, &host.uvwA, &host.uvwB, &host.uvwC, &host.boxLo, &host.boxHi,
                         &sc.rayDirection, &sc.normal, &sc.geometricNormal}) {
    bytes.fill(*vector);
  }
  for (double* number : {&sc.rayTime, &sc.imageX, &sc.imageY, &host.frame.frameTime}) {
    bytes.fill(*number);
  }
  for (std::int32_t* number :
       {&host.materialId, &sc.backfacing, &host.services.cameraMoving, &host.frame.imageHeight}) {
    bytes.fill(*number);
  }
  for (DVector* point : {&sc.shadingPoint, &host.frame.worldOffset}) bytes.fill(*point);
  for (PreciseTransform* transform : {&host.frame.worldToCamera, &host.frame.cameraToWorld}) {
    bytes.fill(*transform);
  }
  if (bytes.ConsumeBool()) sc.object = nullptr;
  if (bytes.ConsumeBool()) sc.surface = nullptr;
  host.object.offers = bytes.ConsumeBool();
  host.surface.offers = bytes.ConsumeBool();
  if (bytes.ConsumeBool()) host.services.log = nullptr;
}

struct Network {
  explicit Network(Bytes& source) : bytes(source) {
    constexpr int kPlugins = 5;
    for (int i = 0; i < kPlugins && bytes.remaining_bytes() > 0; ++i) add();
  }

  void add() {
    static const std::vector<QuorPluginDesc*> descs = [] {
      static struct : QuorPluginHost {
        void registerPluginDesc(QuorPluginDesc* /*desc*/) override {}
        void unregisterPluginDesc(QuorPluginDesc* /*desc*/) override {}
      } host;
      std::vector<QuorPluginDesc*> all = standin::descriptorsOf(test::library());
      for (QuorPluginDesc* desc : all) desc->registerPlugin(&host);
      return all;
    }();
    QuorPluginDesc& desc = *descs[bytes.ConsumeIntegralInRange<std::size_t>(0, descs.size() - 1)];
    const standin::PluginInstance& plugin = plugins.emplace_back(desc);
    for (const standin::ParameterInfo& info : standin::registeredParameters(&desc)) {
      if (info.isOutput()) continue;
      if (info.type == standin::ParamType::Integer) {
        plugin.set(info.name, bytes.ConsumeIntegral<std::int32_t>());
      } else if (info.type == standin::ParamType::Boolean) {
        plugin.set(info.name, bytes.ConsumeBool());
      } else {
        plugin.connect(info.name, texture(info.kind().texture));
      }
    }
    plugin.plugin().renderBegin(nullptr);
    plugin.frameBegin();
    for (const standin::ParameterInfo& info : standin::registeredParameters(&desc)) {
      if (info.isOutput()) outputs.push_back(plugin.texture(info.name));
    }
    if (PluginInterface* itself = plugin.texture("")) outputs.push_back(itself);
  }

  /// A texture of this kind: none, an output, or a new one.
  PluginInterface* texture(InterfaceId kind) {
    std::vector<PluginInterface*> choice = {nullptr};
    for (PluginInterface* output : outputs) {
      if (output->getInterfaceId() == kind) choice.push_back(output);
    }
    const auto chosen = bytes.ConsumeIntegralInRange<std::size_t>(0, 2 * choice.size());
    if (chosen < choice.size()) return choice[chosen];
    if (kind == EXT_TEXTURE) return bytes.addTo(colors);
    if (kind == EXT_TEXTURE_VECTOR) return bytes.addTo(vectors);
    return bytes.addTo(floats);
  }

  Bytes& bytes;
  std::deque<standin::ConstantColor> colors;
  std::deque<standin::ConstantFloat> floats;
  std::deque<standin::ConstantVector> vectors;
  std::deque<standin::PluginInstance> plugins;
  std::vector<PluginInterface*> outputs;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  test::ShadingHost host;
  fill(host, bytes);
  const Network network(bytes);
  for (const PluginInterface* output : network.outputs) {
    for (const test::Question question : test::kQuestions) {
      const test::Answer answer = test::ask(*output, question, host.sc);
      if (test::ask(*output, question, host.sc) != answer) std::abort();
      host.log.clear();
    }
  }
  return 0;
}
