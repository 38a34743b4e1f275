#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "standin/introspection.h"
#include "standin/textures.h"
#include "tests/support/library.h"

namespace {

using namespace test;
using namespace QUtils;

constexpr InterfaceId kAnswersOnlyFromAList = EXT_QUOR_PLUGIN | (InterfaceId{1} << 32);

/// An interface that counts its releases.
class Extra final : public PluginInterface {
 public:
  explicit Extra(InterfaceId answeredId, std::vector<const Extra*>* releases = nullptr)
      : id_(answeredId), releases_(releases) {}
  InterfaceId getInterfaceId() const override { return id_; }
  PluginBase* getPlugin() override { return nullptr; }
  void release() override {
    if (releases_ != nullptr) releases_->push_back(this);
  }

 private:
  InterfaceId id_;
  std::vector<const Extra*>* releases_;
};

class Visitor final : public PluginDescVisitor {
 public:
  explicit Visitor(std::size_t stopAfter) : stopAfter_(stopAfter) {}
  std::int32_t visitPluginDesc(PluginDesc* desc) override {
    names.emplace_back(desc->getPluginName());
    return names.size() == stopAfter_ ? 0 : 1 << 20;
  }
  std::vector<std::string> names;

 private:
  std::size_t stopAfter_;
};

TEST(Library, IntroducesItselfAndItsPluginsNewestFirst) {
  PluginLibDesc& lib = library();
  EXPECT_STREQ(lib.getLibraryName(), "SamplerInfo");
  EXPECT_STREQ(lib.getLibraryDescription(),
               "Sampler info texture and vector/color operations for Quor");

  const std::vector<std::string> expected{"Float3ToAColor", "TexAColorOp", "TexFloatOp",
                                          "TexVectorOp", "TexSampler"};
  EXPECT_EQ(lib.enumPluginDescs(nullptr), 5);
  for (const std::size_t stopAfter : {std::size_t{1}, std::size_t{3}, std::size_t{99}}) {
    Visitor visitor(stopAfter);
    const std::size_t shown = std::min(stopAfter, expected.size());
    EXPECT_EQ(lib.enumPluginDescs(&visitor), static_cast<std::int32_t>(shown));
    EXPECT_EQ(visitor.names,
              std::vector(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(shown)));
  }
}

TEST(Library, AnswersIdentifiersWithAllTheir64Bits) {
  struct Row {
    std::uint64_t pluginId;
    std::vector<InterfaceId> announced;
    std::vector<InterfaceId> answered;
  };
  const std::map<std::string, Row> rows{
      {"TexSampler", {2005072201, {2004287487}, {2004287487}}},
      {"TexVectorOp", {2005072202, {2004287487}, {2004287487}}},
      {"TexFloatOp", {2005072205, {2004287487}, {2004287487}}},
      {"TexAColorOp", {2005072206, {2004287487}, {2010120102, 2004353026, 2004287487}}},
      {"Float3ToAColor", {2005081818, {2004353026, 2004287487}, {2004353026, 2004287487}}},
  };
  const InterfaceId known[] = {2004287487, 2004353026, 2005072101, 2005072102, 2005072105,
                               2005072106, 2010120102, 2004353040, 2004418576, 2006012001};
  for (QuorPluginDesc* desc : descriptors()) {
    SCOPED_TRACE(desc->getPluginName());
    const Row& row = rows.at(desc->getPluginName());
    EXPECT_EQ(desc->getPluginId(), row.pluginId);
    EXPECT_EQ(desc->getExtraInfo(), nullptr);
    Instance instance(desc->getPluginName());
    for (const InterfaceId id : known) {
      const bool announced = std::ranges::count(row.announced, id) != 0;
      const bool answered = std::ranges::count(row.answered, id) != 0;
      const InterfaceId upperBits = id | (InterfaceId{1} << 32);
      EXPECT_EQ(desc->supportsInterface(id), announced ? 1 : 0) << id;
      EXPECT_EQ(desc->supportsInterface(upperBits), 0) << id;
      EXPECT_EQ(desc->getInterface(id), nullptr) << id;
      EXPECT_EQ(instance.object().getInterface(upperBits), nullptr) << id;
      PluginInterface* iface = instance.object().getInterface(id);
      ASSERT_EQ(iface != nullptr, answered) << id;
      if (iface == nullptr) continue;
      EXPECT_EQ(iface->getInterfaceId(), id);
      EXPECT_EQ(iface->getPlugin(), &instance.object());
    }
    EXPECT_STREQ(instance.plugin().getInterfaceName(), "EXT_QUOR_PLUGIN");
    EXPECT_EQ(static_cast<Plugin&>(instance.object()).getPluginDesc(), desc);
  }
}

// What is described, texts included, is compared with docs/plugins.md.
TEST(Registration, AnnouncesAKindBeforeItsParameters) {
  struct Host final : QuorPluginHost, standin::CallListener {
    std::vector<std::string> calls;
    void registerPluginDesc(QuorPluginDesc* desc) override {
      calls.push_back(std::string("register ") + desc->getPluginName());
    }
    void unregisterPluginDesc(QuorPluginDesc* desc) override {
      calls.push_back(std::string("unregister ") + desc->getPluginName());
    }
    void called(const char* operation, const char* /*name*/) override {
      calls.emplace_back(operation);
    }
  };
  for (QuorPluginDesc* desc : descriptors()) {
    const std::string name = desc->getPluginName();
    Host host;
    standin::listenToCalls(&host);
    desc->registerPlugin(nullptr);
    desc->registerPlugin(&host);
    desc->unregisterPlugin(nullptr);
    desc->unregisterPlugin(&host);
    standin::listenToCalls(nullptr);
    EXPECT_EQ(host.calls, (std::vector<std::string>{"register " + name, "registerParameters",
                                                    "unregister " + name}));
    for (const standin::ParameterInfo& info : standin::registeredParameters(desc)) {
      SCOPED_TRACE(name + "." + info.name);
      EXPECT_EQ(info.flags, info.isOutput() ? 0 : -1);
      EXPECT_EQ(info.text, nullptr);
      EXPECT_EQ(info.help == nullptr, std::string(info.name) == "invert");
    }
  }
}

TEST(Registration, BindsAsDescribedButForWhatIsMoved) {
  struct Listener final : standin::CallListener {
    std::vector<std::string> bound;
    int lists = 0;
    void called(const char* operation, const char* name) override {
      const std::string op = operation;
      if (op == "setParamCache" || op == "setOutputParamCache") bound.emplace_back(name);
      if (op == "newParameterList") ++lists;
      if (op == "deleteParameterList") --lists;
    }
  };
  struct Move {
    const char *name, *before;  // null: to the end
  };
  const std::map<std::string, std::vector<Move>> moves{
      {"TexSampler", {{"normalObject", "normalCamera"}}},
      {"TexAColorOp", {{"power", "red"}, {"mode", nullptr}}},
      {"Float3ToAColor", {{"color", nullptr}}}};
  for (QuorPluginDesc* desc : descriptors()) {
    const std::string plugin = desc->getPluginName();
    SCOPED_TRACE(plugin);
    desc->paramListDesc->registerParameters(nullptr, desc);
    std::vector<std::string> expected;
    for (const standin::ParameterInfo& info : standin::registeredParameters(desc)) {
      expected.emplace_back(info.name);
    }
    if (const auto moved = moves.find(plugin); moved != moves.end()) {
      for (const auto& [name, before] : moved->second) {
        std::erase(expected, name);
        const auto place =
            before != nullptr ? std::ranges::find(expected, std::string(before)) : expected.end();
        expected.insert(place, name);
      }
    }
    Listener listener;
    standin::listenToCalls(&listener);
    { const Instance instance(plugin); }
    standin::listenToCalls(nullptr);
    EXPECT_EQ(listener.bound, expected);
    EXPECT_EQ(listener.lists, 0);
  }
}

TEST(InterfaceList, FindsTheNewestMatchAfterTheFixedAnswers) {
  Instance instance("TexFloatOp");
  PluginBase& object = instance.object();
  Extra first(kAnswersOnlyFromAList);
  Extra second(kAnswersOnlyFromAList);
  Extra shadowed(EXT_QUOR_PLUGIN);
  EXPECT_EQ(object.addInterface(&first, 0), 1);
  EXPECT_EQ(object.addInterface(nullptr, 1), 1);
  EXPECT_EQ(object.addInterface(&second, 0), 1);
  EXPECT_EQ(object.addInterface(&shadowed, 0), 1);
  EXPECT_EQ(object.getInterface(kAnswersOnlyFromAList), &second);
  EXPECT_EQ(object.getInterface(EXT_QUOR_PLUGIN), &instance.plugin());
  EXPECT_EQ(object.removeInterface(&second), 1);
  EXPECT_EQ(object.getInterface(kAnswersOnlyFromAList), &first);

  EXPECT_EQ(object.addInterface(&first, 0), 1);
  EXPECT_EQ(object.removeInterface(&first), 1);
  EXPECT_EQ(object.getInterface(kAnswersOnlyFromAList), &first);
  EXPECT_EQ(object.removeInterface(&first), 1);
  EXPECT_EQ(object.getInterface(kAnswersOnlyFromAList), nullptr);
  EXPECT_EQ(object.removeInterface(&first), 0);
}

TEST(InterfaceList, ReleasesWhatItWasAskedToOldestFirstAndNothingThatWasRemoved) {
  std::vector<const Extra*> releases;
  Extra a(1, &releases);
  Extra b(2, &releases);
  Extra c(3, &releases);
  Extra removed(4, &releases);
  {
    Instance instance("TexFloatOp");
    instance.object().addInterface(&a, 1);
    instance.object().addInterface(&removed, 1);
    instance.object().addInterface(&b, 0);
    instance.object().addInterface(&c, 1);
    EXPECT_EQ(instance.object().removeInterface(&removed), 1);
    EXPECT_TRUE(releases.empty());
  }
  EXPECT_EQ(releases, (std::vector<const Extra*>{&a, &c}));
}

TEST(InterfaceList, ServesTheInterfacesThatItReleases) {
  struct Busy final : PluginInterface {
    PluginBase* owner = nullptr;
    PluginInterface *removed = nullptr, *added = nullptr, *other = nullptr;
    int releases = 0;
    InterfaceId getInterfaceId() const override { return 1; }
    PluginBase* getPlugin() override { return owner; }
    void release() override {
      ++releases;
      EXPECT_EQ(owner->getInterface(getInterfaceId()), nullptr) << "still in the list";
      EXPECT_EQ(owner->getInterface(other->getInterfaceId()), other);
      EXPECT_EQ(owner->removeInterface(removed), 1);
      EXPECT_EQ(owner->addInterface(added, 1), 1);
    }
  } busy;
  std::vector<const Extra*> releases;
  Extra removed(2, &releases);
  Extra other(3, &releases);
  Extra added(4, &releases);
  {
    Instance instance("TexFloatOp");
    busy.owner = &instance.object();
    busy.removed = &removed;
    busy.other = &other;
    busy.added = &added;
    for (PluginInterface* iface :
         {static_cast<PluginInterface*>(&busy), static_cast<PluginInterface*>(&removed),
          static_cast<PluginInterface*>(&other)}) {
      instance.object().addInterface(iface, 1);
    }
  }
  EXPECT_EQ(busy.releases, 1);
  EXPECT_EQ(std::ranges::count(releases, &other), 1);
  EXPECT_EQ(std::ranges::count(releases, &added), 1);
  EXPECT_EQ(releases.size(), 2U);
}

TEST(InterfaceList, MayBeLongerThanTheStackIsDeep) {
  constexpr std::size_t kEntries = 700000;
  std::vector<const Extra*> releases;
  Extra extra(1, &releases);
  {
    Instance instance("TexFloatOp");
    for (std::size_t i = 0; i < kEntries; ++i) instance.object().addInterface(&extra, 1);
  }
  EXPECT_EQ(releases.size(), kEntries);
}

TEST(InterfaceList, TellsTheOwnerOfAnInterfaceThatIsReleased) {
  struct Owner final : PluginBase {
    void releaseInterface(PluginInterface* iface) override { released.push_back(iface); }
    std::vector<PluginInterface*> released;
  };
  struct Owned final : PluginInterface {
    explicit Owned(PluginBase* plugin) : owner(plugin) {}
    InterfaceId getInterfaceId() const override { return 1; }
    PluginBase* getPlugin() override { return owner; }
    PluginBase* owner;
  };
  Owner owner;
  Owned owned(&owner);
  Owned free(nullptr);
  owned.release();
  free.release();
  EXPECT_EQ(owner.released, std::vector<PluginInterface*>{&owned});
}

TEST(PluginInstance, TakesNamesDeletionThroughAnyPartAndNullsCalmly) {
  QuorPluginDesc& desc = descriptor("TexFloatOp");
  desc.deletePlugin(nullptr);

  PluginBase* object = desc.newPlugin(&desc);  // the argument is not used
  static_cast<Plugin*>(object)->setPluginName("first");
  static_cast<Plugin*>(object)->setPluginName("a longer second name");
  delete object->getInterface(EXT_QUOR_PLUGIN);  // destroys the whole plugin; LeakSanitizer watches
}

TEST(PluginInstance, PassesParametersOnToItsList) {
  Instance instance("TexFloatOp");
  standin::ConstantFloat number(1);
  standin::ConstantVector vector({1, 2, 3});
  EXPECT_TRUE(instance.connect("float_a", &number));
  EXPECT_FALSE(instance.connect("float_a", &vector));
  EXPECT_FALSE(instance.connect("float_c", &number));
  EXPECT_FALSE(instance.connect("product", &number));
  EXPECT_FALSE(instance.set("float_a", 1));
  char known[] = "float_a";
  char unknown[] = "float_c";
  ASSERT_NE(instance.plugin().getParameter(known), nullptr);
  EXPECT_EQ(instance.plugin().getParameter(known)->value.iface, &number);
  EXPECT_EQ(instance.plugin().getParameter(unknown), nullptr);
}

TEST(PluginInstance, LetsTheHostWriteItsFieldsInEachFrame) {
  struct Listener final : standin::CallListener {
    int frames = 0;
    void called(const char* operation, const char* /*name*/) override {
      if (std::string(operation) == "frameBegin") ++frames;
    }
  } listener;
  for (const QuorPluginDesc* desc : descriptors()) {
    Instance instance(desc->getPluginName());
    listener.frames = 0;
    standin::listenToCalls(&listener);
    instance.frameBegin();
    standin::listenToCalls(nullptr);
    EXPECT_EQ(listener.frames, 1) << desc->getPluginName();
  }
}

TEST(OutputTexture, IsNoObjectOfItsOwn) {
  Instance instance("TexFloatOp");
  auto& out = instance.output<TextureFloatInterface>("product");
  EXPECT_EQ(out.getPlugin(), nullptr);
  EXPECT_STREQ(out.getInterfaceName(), "EXT_TEXTURE_FLOAT");
  EXPECT_EQ(out.getInterfaceId(), 2005072101U);
  out.release();
}

TEST(PluginInterfaceWithoutList, AnswersZeroAndNull) {
  class Bare final : public QuorPlugin {
   public:
    Bare() : QuorPlugin(nullptr) {}
  } bare;
  QuorPluginParameter parameter{"x", ParameterKind::Integer, {}};
  char name[] = "x";
  EXPECT_EQ(bare.setParameter(&parameter), 0);
  EXPECT_EQ(bare.getParameter(name), nullptr);
  EXPECT_EQ(bare.getPluginDesc(), nullptr);
}

}  // namespace
