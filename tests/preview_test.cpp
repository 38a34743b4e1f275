#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

// The preview as its users have it: the program, its exit code and what it says.

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const fs::path& file, const std::string& content) {
  std::ofstream(file, std::ios::binary) << content;
}

/// Every file below a folder, hidden ones included, with its content.
std::map<std::string, std::string> filesIn(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    files[fs::relative(entry.path(), folder).string()] =
        entry.is_regular_file() ? contentOf(entry.path()) : "";
  }
  return files;
}

std::set<std::string> namesIn(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& [name, content] : filesIn(folder)) names.insert(name);
  return names;
}

struct Outcome {
  int exitCode;
  std::string out, err;
};

class PreviewProgram : public testing::Test {
 protected:
  PreviewProgram() {
    std::string name = testing::TempDir() + "preview_test-XXXXXX";
    folder_ = mkdtemp(name.data());
  }
  ~PreviewProgram() override { fs::remove_all(folder_); }

  /// Runs the program in the test's folder.
  Outcome run(const std::vector<std::string>& arguments) const {
    const fs::path out = folder_.string() + ".out";
    const fs::path err = folder_.string() + ".err";
    std::string command = "cd '" + folder_.string() + "' && '" PREVIEW "'";
    for (const std::string& argument : arguments) command += " '" + argument + "'";
    command += " >'" + out.string() + "' 2>'" + err.string() + "' </dev/null";
    const int status = std::system(command.c_str());
    Outcome result{WEXITSTATUS(status), contentOf(out), contentOf(err)};
    fs::remove(out);
    fs::remove(err);
    return result;
  }

  fs::path folder_;
};

/// The text of a sound scene but for one section, which is `content` instead.
std::string sceneWith(const std::string& section, const std::string& content) {
  std::map<std::string, std::string> sections = {
      {"image", R"({"width": 8, "height": 6, "samples": 2})"},
      {"objects", R"({"box": {"shape": {"box": {}}}})"},
      {"nodes", R"({"sampler": {"plugin": "TexSampler"},
                    "tint": {"plugin": "TexFloatOp"},
                    "mix": {"plugin": "TexAColorOp"},
                    "stripes": {"plugin": "ramp", "params": {"from": 0, "to": 1}}})"},
      {"pictures", R"({"stripes": {"from": "stripes"}})"}};
  sections[section] = content;
  std::string text;
  for (const auto& [name, value] : sections) {
    text.append(text.empty() ? "{" : ",\n").append("\"" + name + "\": ").append(value);
  }
  return text + "}";
}

struct BadScene {
  const char* section;  ///< or null: `content` is the whole file
  const char* content;
  const char* error;  ///< behind the name of the file
};

const BadScene kBadScenes[] = {
    // The file as such.
    {nullptr, "",
     "parse error at line 1, column 1: syntax error while parsing value - unexpected "
     "end of input; expected '[', '{', or a literal"},
    {nullptr, "{\n  \"image\": {},,\n}",
     "parse error at line 2, column 15: syntax error while parsing object key - unexpected ','; "
     "expected string literal"},
    {nullptr, R"({"image": {"width": 1e999}})", "number overflow parsing '1e999'"},
    {nullptr, "[1, 2]", "expected an object, found a list of 2"},
    {nullptr, R"({"imge": {}})", R"(imge: unknown key; did you mean "image"?)"},
    {nullptr, R"({"a\nb": {}})", "a b: unknown key"},
    {nullptr, R"({"nodes": {"a": {}, "b": {}, "a": {}}})", "nodes.a: occurs twice"},
    {nullptr, R"({"camera": {"keys": [{"up": [0, 1, 0], "up": [0, 1, 0]}]}})",
     "camera.keys.up: occurs twice"},
    {nullptr, "{}", "objects: expected at least one object"},

    // Image, frames, shutter, camera.
    {"image", R"({"width": 0})", "image.width: expected a whole number from 1 to 8192, found 0"},
    {"image", R"({"width": -640})",
     "image.width: expected a whole number from 1 to 8192, found -640"},
    {"image", R"({"height": 1000000})",
     "image.height: expected a whole number from 1 to 8192, found 1000000"},
    {"image", R"({"height": 18446744073709551615})",
     "image.height: expected a whole number from 1 to 8192, found 18446744073709551615"},
    {"image", R"({"width": 12.5})",
     "image.width: expected a whole number from 1 to 8192, found 12.5"},
    {"image", R"({"width": "wide"})",
     R"(image.width: expected a whole number from 1 to 8192, found "wide")"},
    {"image", R"({"samples": null})",
     "image.samples: expected a whole number from 1 to 4096, found null"},
    {"image", R"({"widht": 8})", R"(image.widht: unknown key; did you mean "width"?)"},
    {"frames", R"({"first": 3, "last": 2})", "frames: the last frame comes before the first"},
    {"shutter", R"({"open": 0.5, "close": 0.25})", "shutter: closes before it opens"},
    {"shutter", R"({"open": -1})", "shutter.open: expected a number from 0.0 to 1.0, found -1"},
    {"camera", R"({"keys": []})", "camera.keys: expected one or two keys"},
    {"camera", R"({"keys": [{}, {}, {}]})", "camera.keys: expected one or two keys"},
    {"camera", R"({"keys": [{}, {"position": [1, 2]}]})",
     "camera.keys[1].position: expected a list of 3 numbers, found a list of 2"},
    {"camera", R"({"keys": [{"position": [1, 2, 3], "target": [1, 2, 3]}]})",
     "camera.keys[0]: the camera stands at its target"},
    {"camera", R"({"keys": [{"up": [0, 0, -2]}]})",
     R"(camera.keys[0]: "up" is zero or along the view)"},
    {"world_offset", R"([0, true, 0])", "world_offset[1]: expected a number, found true"},
    {nullptr, R"({"world_offset": [0, 0, 0], "camera": {"keys": [{}, {"position": [1, 2, 3]}]}})",
     "world_offset: with a moving camera render space begins at the camera"},

    // Objects.
    {"objects", R"({})", "objects: expected at least one object"},
    {"objects", R"({"a.b": {"shape": {"box": {}}}})",
     R"(objects.a.b: a name is up to 64 letters, digits, "_" and "-" long)"},
    {"objects", R"({"a": {}})", R"(objects.a: "shape" is missing)"},
    {"objects", R"({"a": {"shape": {"tours": {}}}})",
     R"(objects.a.shape.tours: unknown key; did you mean "torus"?)"},
    {"objects", R"({"a": {"shape": {"box": {}, "plane": {}}}})",
     "objects.a.shape: expected one shape"},
    {"objects", R"({"a": {"shape": {"sphere": {"radius": 0}}}})",
     "objects.a.shape.sphere.radius: expected a number from 1e-06 to 1000000.0, found 0"},
    {"objects", R"({"a": {"shape": {"obj": "nowhere.obj"}}})",
     R"(objects.a.shape.obj: no file "nowhere.obj")"},
    {"objects", R"({"a": {"shape": {"obj": "scene.json"}}})",
     "objects.a.shape: scene.json: has no faces"},
    {"objects", R"({"a": {"shape": {"box": {}}, "transform": {"scale": [1, 0, 1]}}})",
     "objects.a.transform.scale: expected positive numbers"},
    {"objects", R"({"a": {"shape": {"box": {}}, "material_id": true}})",
     "objects.a.material_id: expected a whole number or false, found true"},

    // Nodes.
    {"nodes", R"({"a": {"plugin": "TexFloatOpp"}})",
     R"(nodes.a.plugin: no plugin "TexFloatOpp"; did you mean "TexFloatOp"?)"},
    {"nodes", R"({"a": {"plugin": "Wood"}})", R"(nodes.a.plugin: no plugin "Wood")"},
    {"nodes", R"({"a": {}})", R"(nodes.a: "plugin" is missing)"},
    {"nodes", R"({"a": {"plugin": ""}})", R"(nodes.a.plugin: no plugin "")"},
    {"nodes", R"({"coverage": {"plugin": "ramp"}})",
     "nodes.coverage: the coverage of the pixels has this name"},
    {"nodes", R"({"facing": {"plugin": "TexSampler"},
                  "tint": {"plugin": "Float3ToAColor",
                           "params": {"float1": "facing.facing_ration"}}})",
     R"(nodes.tint.params.float1: TexSampler has no output "facing_ration"; did you mean )"
     R"("facing_ratio"?)"},
    {"nodes", R"({"tint": {"plugin": "Float3ToAColor", "params": {"float1": "facin"}},
                  "facing": {"plugin": "ramp", "params": {"from": 0, "to": 1}}})",
     R"(nodes.tint.params.float1: no node "facin"; did you mean "facing"?)"},
    {"nodes", R"({"a": {"plugin": "TexFloatOp", "params": {"float_a": "a2.product"}},
                  "a2": {"plugin": "TexFloatOp", "params": {"float_b": "a.sum"}}})",
     "nodes.a2.params.float_b: a cycle: a <- a2 <- a"},
    {"nodes", R"({"a": {"plugin": "TexAColorOp", "params": {"color_b": "a"}}})",
     "nodes.a.params.color_b: a cycle: a <- a"},
    {"nodes", R"({"s": {"plugin": "TexSampler"},
                  "a": {"plugin": "TexFloatOp", "params": {"float_a": "s.point"}}})",
     R"(nodes.a.params.float_a: expected a float: a number, "node" or "node.output"; )"
     R"("s.point" is of kind vector)"},
    {"nodes", R"({"s": {"plugin": "TexSampler"},
                  "a": {"plugin": "TexFloatOp", "params": {"float_a": "s"}}})",
     "nodes.a.params.float_a: TexSampler is not itself a texture; name one of its outputs: "
     R"("s.OUTPUT")"},
    {"nodes", R"({"r": {"plugin": "ramp", "params": {"from": 0, "to": 1}},
                  "a": {"plugin": "TexFloatOp", "params": {"float_a": "r.sum"}}})",
     "nodes.a.params.float_a: ramp has no outputs"},
    {"nodes", R"({"a": {"plugin": "TexFloatOp", "params": {"flaot_a": 1}}})",
     R"(nodes.a.params.flaot_a: TexFloatOp has no input "flaot_a"; did you mean "float_a"?)"},
    {"nodes", R"({"a": {"plugin": "TexFloatOp", "params": {"product": 1}}})",
     R"(nodes.a.params.product: TexFloatOp has no input "product")"},
    {"nodes", R"({"a": {"plugin": "TexFloatOp", "params": {"float_a": true}}})",
     R"(nodes.a.params.float_a: expected a float: a number, "node" or "node.output")"},
    {"nodes", R"({"a": {"plugin": "TexFloatOp", "params": {"float_a": 1e39}}})",
     "nodes.a.params.float_a: expected a number from -3.4028234663852886e+38 to "
     "3.4028234663852886e+38, found 1e+39"},
    {"nodes", R"({"a": {"plugin": "TexFloatOp", "params": {"float_a": null}}})",
     R"(nodes.a.params.float_a: expected a number, true or false, a list of numbers, "node" or )"
     R"("node.output", found null)"},
    {"nodes", R"({"a": {"plugin": "TexAColorOp", "params": {"color_a": [1, 1, 1]}}})",
     R"(nodes.a.params.color_a: expected a color: [r, g, b, a], "node" or "node.output")"},
    {"nodes", R"({"a": {"plugin": "TexAColorOp", "params": {"color_a": [1, 1, 1, "1"]}}})",
     R"(nodes.a.params.color_a[3]: expected a number, found "1")"},
    {"nodes", R"({"a": {"plugin": "TexAColorOp", "params": {"mode": 2.5}}})",
     "nodes.a.params.mode: expected a whole number of 32 bits"},
    {"nodes", R"({"a": {"plugin": "TexAColorOp", "params": {"mode": -2147483649}}})",
     "nodes.a.params.mode: expected a whole number of 32 bits"},
    {"nodes", R"({"a": {"plugin": "Float3ToAColor", "params": {"invert": 1}}})",
     "nodes.a.params.invert: expected true or false"},
    {"nodes", R"({"a": {"plugin": "ramp", "params": {"from": 0}}})",
     R"(nodes.a.params: "to" is missing)"},
    {"nodes", R"({"a": {"plugin": "checker", "params": {"even": 0, "odd": [1, 1, 1]}}})",
     R"(nodes.a.params.odd: expected numbers as "even" has them: one, 3 or 4)"},
    {"nodes", R"({"a": {"plugin": "ramp", "params": {"from": "b", "to": 1}}})",
     "nodes.a.params.from: expected a number, [x, y, z] or [r, g, b, a]"},
    {"nodes", R"({"a": {"plugin": "constant", "params": {"vlaue": 0}}})",
     R"(nodes.a.params.vlaue: constant has no parameter "vlaue"; did you mean "value"?)"},

    // Pictures.
    {"pictures", R"({})", "pictures: expected at least one picture"},
    {"pictures", R"({"a": {}})", R"(pictures.a: "from" is missing)"},
    {"pictures", R"({"a": {"from": ""}})",
     R"(pictures.a.from: expected "node" or "node.output", found "")"},
    {"pictures", R"({"a": {"from": ".sum"}})",
     R"(pictures.a.from: expected "node" or "node.output", found ".sum")"},
    {"pictures", R"({"a": {"from": "tint."}})",
     R"(pictures.a.from: expected "node" or "node.output", found "tint.")"},
    {"pictures", R"({"a/b": {"from": "stripes"}})",
     R"(pictures.a/b: a name is up to 64 letters, digits, "_" and "-" long)"},
    {"pictures", R"({"contact_sheet": {"from": "stripes"}})",
     "pictures.contact_sheet: the contact sheet has this name"},
    {"pictures", R"({"a": {"from": "tint.prodcut"}})",
     R"(pictures.a.from: TexFloatOp has no output "prodcut"; did you mean "product"?)"},
    {"pictures", R"({"a": {"from": "sampler.facing"}})",
     R"(pictures.a.from: TexSampler has no output "facing"; did you mean "facing_ratio"?)"},
    {"pictures", R"({"a": {"from": "stripes", "show": "uper"}})",
     R"(pictures.a.show: cannot show "uper"; did you mean "upper"?)"},
    {"pictures", R"({"a": {"from": "sampler.material_id", "show": "lower"}})",
     R"(pictures.a.show: "sampler.material_id" is of kind integer, which has no lower)"},
    {"pictures", R"({"a": {"from": "sampler.camToWorld"}})",
     R"(pictures.a.show: "sampler.camToWorld" is of kind transform, which has no value)"},
    {"pictures", R"({"a": {"from": "stripes", "range": [2, 2]}})",
     "pictures.a.range: the range is empty"},
};

TEST_F(PreviewProgram, NamesThePlaceOfWhatIsWrongInASceneAndWritesNothing) {
  fs::create_directory(folder_ / "out");
  writeFile(folder_ / "out" / "stripes.png", "an older picture");
  for (const BadScene& bad : kBadScenes) {
    SCOPED_TRACE(bad.content);
    writeFile(folder_ / "scene.json",
              bad.section != nullptr ? sceneWith(bad.section, bad.content) : bad.content);
    const auto before = filesIn(folder_);
    const Outcome outcome = run({"render", "scene.json", "-o", "out"});
    EXPECT_EQ(outcome.err, std::string("scene.json: ") + bad.error + "\n");
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(filesIn(folder_), before);
  }
}

TEST_F(PreviewProgram, RefusesCommandLinesThatItCannotObey) {
  struct Row {
    std::vector<std::string> arguments;
    const char* error;
  };
  const Row rows[] = {
      {{}, "samplerinfo-preview: A subcommand is required"},
      {{"render", "nowhere.json", "-o", "out"},
       "samplerinfo-preview: SCENE: File does not exist: nowhere.json"},
      {{"render", ".", "-o", "out"}, "samplerinfo-preview: SCENE: File is actually a directory: ."},
      {{"render", "scene.json"}, "samplerinfo-preview: --output is required"},
      {{"render", "scene.json", "-o", ""},
       "samplerinfo-preview: cannot write to \"\": it has no name"},
      {{"render", "scene.json", "-o", "file"},
       R"(samplerinfo-preview: cannot write to "file": "file" is not a folder)"},
      {{"render", "scene.json", "-o", "file/out"},
       R"(samplerinfo-preview: cannot write to "file/out": "file" is not a folder)"},
      {{"render", "scene.json", "-o", "dangling"},
       R"(samplerinfo-preview: cannot write to "dangling": "dangling" is not a folder)"},
      {{"render", "scene.json", "-o", "out", "--size", ""},
       "samplerinfo-preview: --size: expected WIDTHxHEIGHT, as in 640x480"},
      {{"render", "scene.json", "-o", "out", "--size", "640"},
       "samplerinfo-preview: --size: expected WIDTHxHEIGHT, as in 640x480"},
      {{"render", "scene.json", "-o", "out", "--size", "0x480"},
       "samplerinfo-preview: --size: width and height lie from 1 to 8192"},
      {{"render", "scene.json", "-o", "out", "--samples", "0"},
       "samplerinfo-preview: --samples: Value 0 not in range 1 to 4096"},
      {{"render", "scene.json", "-o", "out", "--threads", "-1"},
       "samplerinfo-preview: --threads: Value -1 not in range 1 to 1024"},
      {{"render", "scene.json", "-o", "out", "--frames", "1-2"},
       "samplerinfo-preview: --frames: the scene has the frames 1 to 1"},
      {{"render", "scene.json", "-o", "out", "--frames", "one"},
       "samplerinfo-preview: --frames: expected FIRST-LAST or one frame, as in 1-3 or 2"},
      {{"probe", "scene.json", "--pixel", "8,0"},
       "samplerinfo-preview: --pixel: the image has 8 x 6 pixels, counted from 0,0"},
      {{"probe", "scene.json", "--pixel", "1,1", "--frame", "2"},
       "samplerinfo-preview: --frame: the scene has the frames 1 to 1"},
      {{"probe", "scene.json", "--pixel", "1;2"},
       "samplerinfo-preview: --pixel: expected X,Y, as in 160,120"},
  };
  writeFile(folder_ / "scene.json", sceneWith("shutter", "{}"));
  writeFile(folder_ / "file", "");
  fs::create_symlink("nowhere", folder_ / "dangling");
  const auto before = filesIn(folder_);
  for (const Row& row : rows) {
    const Outcome outcome = run(row.arguments);
    EXPECT_EQ(outcome.err, row.error + std::string("\n"));
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(filesIn(folder_), before);
  }

  const Outcome noLibrary = run({"list", "--plugin", "file"});
  EXPECT_TRUE(noLibrary.err.starts_with("samplerinfo-preview: cannot load the plugin library: "));
  EXPECT_EQ(std::count(noLibrary.err.begin(), noLibrary.err.end(), '\n'), 1);
  EXPECT_EQ(noLibrary.exitCode, 2);
}

TEST_F(PreviewProgram, RefusesANetworkThatDoublesItsPathsAtEveryNode) {
  std::ostringstream nodes;
  nodes << R"({"n0": {"plugin": "TexFloatOp"})";
  for (int i = 1; i <= 20; ++i) {
    nodes << ", \"n" << i << R"(": {"plugin": "TexFloatOp", "params": {"float_a": "n)" << i - 1
          << R"(.sum", "float_b": "n)" << i - 1 << R"(.sum"}})";
  }
  writeFile(folder_ / "scene.json", sceneWith("nodes", nodes.str() + "}"));
  const Outcome outcome = run({"render", "scene.json", "-o", "out"});
  EXPECT_EQ(outcome.err, "scene.json: nodes.n16: more than 100000 paths lead through its inputs\n");
  EXPECT_EQ(outcome.exitCode, 2);
}

TEST_F(PreviewProgram, RefusesAnImageThatWouldNotFitIntoMemory) {
  writeFile(folder_ / "scene.json",
            sceneWith("pictures", R"({"a": {"from": "mix"}, "b": {"from": "sampler.point"}})"));
  const Outcome outcome = run({"render", "scene.json", "-o", "out", "--size", "8192x8192"});
  EXPECT_EQ(outcome.err, "scene.json: image: too large for 2 pictures: they would take 2 GiB\n");
  EXPECT_EQ(outcome.exitCode, 2);
}

TEST_F(PreviewProgram, ListsParametersAsRegistered) {
  const Outcome plain = run({"list"});
  EXPECT_EQ(plain.exitCode, 0);
  std::vector<std::string> plugins;
  std::set<std::string> lines;
  std::istringstream stream(plain.out);
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty() && line[0] != ' ') plugins.push_back(line);
    lines.insert(line);
  }
  EXPECT_EQ(plugins, (std::vector<std::string>{"Float3ToAColor", "TexAColorOp", "TexFloatOp",
                                               "TexVectorOp", "TexSampler"}));
  for (const char* line :
       {"  invert              boolean           false  ",
        "  color_a             color input              The first color",
        "  power               float output             The first number raised to the power of "
        "the "
        "second number",
        "  material_id         integer output           The surface material id, if the surface "
        "supports it"}) {
    EXPECT_TRUE(lines.contains(line)) << line;
  }

  const Outcome markdown = run({"list", "--markdown"});
  EXPECT_EQ(markdown.exitCode, 0);
  for (const char* line :
       {"## TexVectorOp\n\n| parameter | kind | default | help |\n|---|---|---|---|\n",
        "\n| `product` | float output |  | float\\_a\\*float\\_b |\n"}) {
    EXPECT_NE(markdown.out.find(line), std::string::npos) << line;
  }
}

TEST_F(PreviewProgram, GalleryShowsEveryOutputOfEveryPlugin) {
  std::set<std::string> missing;
  std::string plugin;
  std::istringstream stream(run({"list"}).out);
  for (std::string line; std::getline(stream, line);) {
    std::istringstream words(line);
    std::string name, type, kind;
    words >> name >> type >> kind;
    if (!line.starts_with(' ')) plugin = name;
    if (kind == "output") missing.insert(std::string(plugin).append(".").append(name));
  }
  EXPECT_EQ(missing.size(), 21U + 9U + 9U + 14U + 1U);

  const auto scene = nlohmann::json::parse(contentOf(SCENES "/gallery.json"), nullptr, true, true);
  for (const auto& picture : scene.at("pictures")) {
    const auto from = picture.at("from").get<std::string>();
    const std::size_t dot = from.find('.');
    if (dot == std::string::npos) continue;
    const auto& node = scene.at("nodes").at(from.substr(0, dot));
    missing.erase(node.at("plugin").get<std::string>() + from.substr(dot));
  }
  EXPECT_EQ(missing, std::set<std::string>());
}

// These enter Embree and oneTBB.
class PreviewRender : public PreviewProgram {};

TEST_F(PreviewRender, WritesAPictureEachASheetAndALayeredFile) {
  writeFile(folder_ / "scene.json",
            sceneWith("pictures", R"({"a": {"from": "stripes"}, "b": {"from": "sampler.point"}})"));
  fs::create_directories(folder_ / "new");
  writeFile(folder_ / "new" / "a.png", "an older picture");
  writeFile(folder_ / "new" / "other.png", "another picture");
  const Outcome outcome = run({"render", "scene.json", "-o", "new/"});
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.exitCode, 0);
  const auto files = filesIn(folder_ / "new");
  EXPECT_EQ(namesIn(folder_ / "new"), (std::set<std::string>{"a.png", "b.png", "contact_sheet.png",
                                                             "other.png", "scene.exr"}));
  EXPECT_NE(files.at("a.png"), "an older picture");
  EXPECT_EQ(files.at("other.png"), "another picture");
  EXPECT_NE(files.at("scene.exr").find("sampler.point.B"), std::string::npos);
}

TEST_F(PreviewRender, NumbersTheFilesOfSeveralFrames) {
  writeFile(folder_ / "scene.json", sceneWith("frames", R"({"first": 8, "last": 11})"));
  EXPECT_EQ(run({"render", "scene.json", "-o", "a/b", "--frames", "9-10"}).exitCode, 0);
  EXPECT_EQ(
      namesIn(folder_ / "a/b"),
      (std::set<std::string>{"contact_sheet.0009.png", "contact_sheet.0010.png", "scene.0009.exr",
                             "scene.0010.exr", "stripes.0009.png", "stripes.0010.png"}));
}

TEST_F(PreviewRender, ReplacesNothingIfOneFileCannotBeReplaced) {
  writeFile(folder_ / "scene.json",
            sceneWith("pictures", R"({"a": {"from": "stripes"}, "b": {"from": "stripes"}})"));
  fs::create_directories(folder_ / "out" / "b.png");
  writeFile(folder_ / "out" / "a.png", "an older picture");
  const auto before = filesIn(folder_);
  const Outcome outcome = run({"render", "scene.json", "-o", "out"});
  EXPECT_EQ(outcome.err, "samplerinfo-preview: cannot write to \"out\": b.png is a folder\n");
  EXPECT_EQ(outcome.exitCode, 2);
  EXPECT_EQ(filesIn(folder_), before);
}

TEST_F(PreviewRender, GivesTheSameFilesOnAnyNumberOfThreads) {
  for (const std::string scene : {"gallery", "moving_camera"}) {
    for (const std::string threads : {"1", "7"}) {
      const Outcome outcome = run({"render", SCENES "/" + scene + ".json", "-o", threads, "--size",
                                   "96x72", "--samples", "3", "--threads", threads});
      EXPECT_EQ(outcome.err, "");
    }
    EXPECT_EQ(filesIn(folder_ / "1"), filesIn(folder_ / "7"));
  }
}

TEST_F(PreviewRender, LogsTheClippingPlanesOfEachFrameOnDemand) {
  writeFile(folder_ / "scene.json", R"({
    "image": {"width": 8, "height": 8}, "frames": {"first": 1, "last": 2},
    "objects": {"box": {"shape": {"box": {}}}},
    "nodes": {"sampler": {"plugin": "TexSampler"}},
    "pictures": {"near": {"from": "sampler.cameraNearClipPlane"}}})");
  EXPECT_EQ(run({"render", "scene.json", "-o", "out", "--log"}).err,
            "Auto clipping planes : 4.50 5.50\nAuto clipping planes : 4.50 5.50\n");
}

TEST_F(PreviewRender, ProbesTheMiddleOfAPixel) {
  // The middle of the front of a box of size 1, seen from 5 before its middle.
  writeFile(folder_ / "scene.json", R"({
    "image": {"width": 3, "height": 3}, "world_offset": [100, 20, 0], "shutter": {"close": 0.5},
    "camera": {"keys": [{"position": [100, 20, 5], "target": [100, 20, 0]}]},
    "objects": {"box": {"shape": {"box": {}}, "material_id": 16777217,
                        "transform": {"translate": [100, 20, 0], "scale": [1, 2, 1]}}},
    "nodes": {
      "s": {"plugin": "TexSampler"},
      "r": {"plugin": "ramp", "params": {"from": [1, 1, 1, 1], "to": [4, 1, 1, 0],
                                         "direction": [0, 1, 0]}},
      "c": {"plugin": "checker", "params": {"even": [1, 2, 3], "odd": [4, 0, 6], "tiles": 3}},
      "op": {"plugin": "TexFloatOp", "params": {"float_a": "s.facing_ratio", "float_b": 3}}},
    "pictures": {"r": {"from": "r"}}})");
  const Outcome probe = run({"probe", "scene.json", "--pixel", "1,1"});
  EXPECT_EQ(probe.exitCode, 0);
  EXPECT_EQ(probe.err, "");
  std::set<std::string> lines;
  std::istringstream stream(probe.out);
  for (std::string line; std::getline(stream, line);) lines.insert(line);
  for (const char* line : {
           "frame 1, pixel 1,1: object box, render space (0, 0, 0.5), ray time 0.25",
           "s.point                vector  value (100, 20, 0.5)  bounds (-1e+18, -1e+18, -1e+18) "
           "to "
           "(1e+18, 1e+18, 1e+18)  gradient (0, 0, 0)",
           "s.pointCamera          vector  value (0, 0, -4.5)  bounds (-1e+18, -1e+18, -1e+18) to "
           "(1e+18, 1e+18, 1e+18)  gradient (0, 0, 0)",
           "s.normalCamera         vector  value (0, 0, 1)  bounds (-1, -1, -1) to (1, 1, 1)  "
           "gradient (0, 0, 0)",
           "s.camToWorld           transform  columns (1, 0, 0) (0, 1, 0) (0, 0, 1)  offset (100, "
           "20, 5)",
           "s.material_id          integer  value 16777217",
           "s.pixelCenter          vector  value (1.5, 1.5, 0)  bounds (-1e+18, -1e+18, -1e+18) to "
           "(1e+18, 1e+18, 1e+18)  gradient (0, 0, 0)",
           // Half way up the box, which is two high: a third of 3 more red per unit of height / 2.
           "r                      color  value (2.5, 1, 1, 0.5)  bounds (1, 1, 1, 0) to (4, 1, 1, "
           "1)  gradient (0, 0.5, 0)",
           // The square in the middle of three by three.
           "c                      vector  value (1, 2, 3)  bounds (1, 0, 3) to (4, 2, 6)  "
           "gradient (0, 0, 0)",
           "op.product             float  value 3  bounds -3 to 3  gradient (0, 0, 0)",
       }) {
    EXPECT_TRUE(lines.contains(line)) << line;
  }

  EXPECT_EQ(run({"probe", "scene.json", "--pixel", "0,0", "--size", "64x64"}).out,
            "frame 1, pixel 0,0: nothing is seen there\n");
}

}  // namespace
