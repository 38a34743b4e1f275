#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "standin/introspection.h"
#include "standin/textures.h"
#include "tests/support/library.h"

namespace {

using namespace test;
using namespace QUtils;

/// An interface that notes its releases.
class Extra final : public PluginInterface {
 public:
  Extra(InterfaceId answeredId, std::vector<const Extra*>& releases)
      : id_(answeredId), releases_(releases) {}
  InterfaceId getInterfaceId() const override { return id_; }
  PluginBase* getPlugin() override { return nullptr; }
  void release() override { releases_.push_back(this); }

 private:
  InterfaceId id_;
  std::vector<const Extra*>& releases_;
};

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

TEST(PluginInstance, BindsAsDescribedButForWhatIsMoved) {
  struct Listener final : standin::CallListener {
    std::vector<std::string> bound;
    int lists = 0;
    int frames = 0;
    void called(const char* operation, const char* name) override {
      const std::string op = operation;
      if (op == "setParamCache" || op == "setOutputParamCache") bound.emplace_back(name);
      if (op == "newParameterList") ++lists;
      if (op == "deleteParameterList") --lists;
      if (op == "frameBegin") ++frames;
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
    Instance(plugin).frameBegin();
    standin::listenToCalls(nullptr);
    EXPECT_EQ(listener.bound, expected);
    EXPECT_EQ(listener.lists, 0);
    EXPECT_EQ(listener.frames, 1) << "the host's default writes the fields";
  }
}

TEST(InterfaceList, ReleasesWhatItWasAskedToOldestFirstAndNothingThatWasRemoved) {
  std::vector<const Extra*> releases;
  Extra a(1, releases);
  Extra b(2, releases);
  Extra c(3, releases);
  Extra removed(4, releases);
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
  Extra removed(2, releases);
  Extra other(3, releases);
  Extra added(4, releases);
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
  Extra extra(1, releases);
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
