#ifdef VTFLOW_HAS_WINDOW
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "apps/face_clip/shots.h"
#include "tests/driver/driver_test.h"
#include "tests/driver/face_clip.h"

namespace veltrane::testing {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;

/// One that was free a moment ago, so that nobody answers there.
int closedPort() {
  sockaddr_in address{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}};
  socklen_t size = sizeof(address);
  const int bound = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(bind(bound, reinterpret_cast<const sockaddr*>(&address), size), 0);
  EXPECT_EQ(getsockname(bound, reinterpret_cast<sockaddr*>(&address), &size), 0);
  close(bound);
  return ntohs(address.sin_port);
}

/// `vtflow run`, off screen, as a program of its own with a temporary folder of its own.
class RunCommand : public DriverTest {
 protected:
  RunCommand() { fs::create_directory(temporary()); }

  fs::path temporary() const { return folder_.path() / "temporary"; }
  std::string path(const char* name) const { return (folder_.path() / name).string(); }
  std::string write(const char* name, const std::string& text) const {
    std::ofstream(folder_.path() / name) << text;
    return path(name);
  }
  std::unique_ptr<DriverProcess> start(std::vector<std::string> words) const {
    return std::make_unique<DriverProcess>(
        words, std::vector<std::string>{"TMPDIR=" + temporary().string(),
                                        "XDG_RUNTIME_DIR=" + folder_.path().string(),
                                        "QT_QPA_PLATFORM=offscreen"});
  }
  std::unique_ptr<DriverProcess> startFlow(const std::vector<std::string>& more) const {
    auto words = arguments("sign-in", more);
    words.front() = "run";
    return start(std::move(words));
  }
  /// A screen's picture, with these options. It has no field, whose caret would blink.
  std::string picture(const std::vector<std::string>& more) const {
    const json view = {
        {"navTitle", {{"value", "Acme"}}},
        {"screenComponentList",
         {{"value", json::array({flows::component("toggleSwitch", "remember", true,
                                                  {{"displayName", "Remember me"}})})}}}};
    server().addFlow("switch", flows::file(flows::document({{"one", "ScreenTemplate1", view}})));
    auto words = arguments("switch", more);
    words.front() = "run";
    words.insert(words.end(), {"--pictures", path("pictures")});
    EXPECT_EQ(start(words)->waitForEnd(), 4);
    std::ifstream file(path("pictures") + "/01-acme.png", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  /// The names of the pictures that a run of the flow leaves.
  std::vector<std::string> picturesOf(const std::string& flow) const {
    auto words = arguments(flow, {"--pictures", path(flow.c_str())});
    words.front() = "run";
    EXPECT_EQ(start(words)->waitForEnd(), 4);
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path(flow.c_str()))) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  ScratchFolder folder_;
};

TEST_F(RunCommand, LeavesNoTemporaryFilesHoweverItEnds) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    const auto run = startFlow({});
    EXPECT_THAT(run->line(), HasSubstr("screen"));
    EXPECT_FALSE(fs::is_empty(temporary()));
    run->signal(number);
    EXPECT_EQ(run->waitForEnd(), 4);
    EXPECT_THAT(run->output(), HasSubstr("result   none: interrupted"));
    EXPECT_TRUE(fs::is_empty(temporary()));
  }
  const auto cancelled = startFlow({"--script", write("script.json", R"([{"do":"cancel"}])")});
  EXPECT_EQ(cancelled->waitForEnd(), 3);
  EXPECT_TRUE(fs::is_empty(temporary()));
}

TEST_F(RunCommand, AFaceThatComesIntoTheOvalIsSentAndAWallIsNot) {
  std::ifstream flow(sandbox::shippedFlowsFolder() / "face.json");
  server().addFlow("face", {std::istreambuf_iterator<char>(flow), {}});
  writeClip(path("clip"));
  clip::writePicture(clip::wallShot(portrait(), {360, 640}), path("wall.png"));
  const auto runWith = [&](const char* camera) {
    auto words = arguments("face", {"--camera", path(camera), "--pictures", path("pictures"),
                                    "--script", write("script.json", "[]")});
    words.front() = "run";
    return start(std::move(words));
  };
  const auto taken = runWith("clip");
  EXPECT_EQ(taken->waitForEnd(), 0) << taken->output();
  EXPECT_THAT(taken->output(), HasSubstr("sees     face inside"));
  EXPECT_THAT(lastBody().at("parameters").at("imageData"), StartsWith("iVBORw0KGgo"));
  server().clearRequests();
  const auto none = runWith("wall.png");
  EXPECT_EQ(none->waitForEnd(), 4);
  EXPECT_THAT(none->output(), HasSubstr("the script has ended before the flow"));
  EXPECT_EQ(server().requests().size(), 1U);

  // The camera opens by itself, so that pictures of it need no script.
  auto words = arguments("face", {"--camera", path("clip"), "--pictures", path("pictures")});
  words.front() = "run";
  const auto unplayed = start(std::move(words));
  EXPECT_EQ(unplayed->waitForEnd(), 0) << unplayed->output();
}

TEST_F(RunCommand, AServerThatDoesNotAnswerIsNamedWithTheReason) {
  const std::string address = "https://127.0.0.1:" + std::to_string(closedPort());
  const auto run = start({"run", "--company", "acme", "--flow", "sign-in", "--base-url",
                          address + "/v1", "--pictures", path("pictures")});
  EXPECT_EQ(run->waitForEnd(), 1);
  EXPECT_THAT(run->errors(), HasSubstr("vtflow run: no response from " + address + ": "));
  EXPECT_THAT(run->output(), HasSubstr("veltraneError: No response from server..."));
}

TEST_F(RunCommand, WrongUseIsStatusTwoAndOneLineThatNamesIt) {
  struct Wrong {
    std::vector<std::string> arguments;
    const char* named;
  };
  const auto script = [&](const char* name, const char* text) {
    return std::vector<std::string>{"--script", write(name, text)};
  };
  const auto look = [&](const char* name, const char* text) {
    return std::vector<std::string>{"--look", write(name, text)};
  };
  const Wrong wrong[] = {
      {{"--pictures", "/dev/null"}, "no folder"},
      {{"--pictures", "/proc/pictures"}, "cannot write"},
      {{"--text-scale", "nan"}, "\"nan\""},
      {{"--size", "0x0"}, "\"0x0\""},
      {{"--camera", "/proc/none"}, "there is no file"},
      {{"--flwo", "x"}, "did you mean --flow?"},
      {script("a.json", R"([{"do":"input","key":"username"}])"), "a.json: command 1"},
      {script("b.json", R"([{"do":"press"},{"do":"input","text":"x"}])"), "b.json: command 2"},
      {script("c.json", R"([{"do":"choose","key":"language"}])"), "\"option\""},
      {script("d.json", R"([{"do":"toggle","key":"remember"}])"), "\"on\""},
      {script("e.json", "[5]"), "e.json: command 1"},
      {script("f.json", "{"), "f.json: is not JSON"},
      {look("g.json", R"({"look":{"dark":1}})"), "g.json: look.dark"},
      {look("h.json", R"({"look":{"theme":{"shade":"#fff"}}})"), "shade"},
      {look("i.json", R"({"look":[]})"), "i.json: look: must be an object"},
      {look("j.json", R"({"look":{"theme":["#fff"]}})"), "j.json: look.theme: must be an object"},
      {look("k.json", R"({"look":{"theme":{"backgroundColor":[]}}})"), "must be a text"},
      {look("l.json", R"({"look":{"shade":true}})"), "\"shade\""},
      {look("m.json", "[]"), "m.json: is no flow"},
      {{"--script", "/nowhere/at/all.json"}, "no file"},
  };
  for (const auto& [more, named] : wrong) {
    const auto run = startFlow(more);
    EXPECT_EQ(run->waitForEnd(), 2) << named;
    const auto errors = run->errors();
    EXPECT_THAT(errors, HasSubstr(named));
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
    EXPECT_EQ(run->output(), "") << named;
  }
}

TEST_F(RunCommand, TheFirstResultStands) {
  const auto run = startFlow({"--script", write("script.json", R"([{"do":"cancel"}])")});
  while (!run->line().starts_with("result")) {
  }
  run->signal(SIGINT);
  EXPECT_EQ(run->waitForEnd(), 3);
  const auto output = run->output();
  EXPECT_EQ(output.find("result"), output.rfind("result")) << output;
}

TEST_F(RunCommand, SaysThatThereIsNoDisplay) {
  const auto display = [](const std::string& name) {
    return std::vector<std::string>{"QT_QPA_PLATFORM=", "DISPLAY=" + name, "WAYLAND_DISPLAY="};
  };
  auto words = arguments("sign-in");
  words.front() = "run";
  for (const std::string name : {"", ":nowhere"}) {
    DriverProcess run(words, display(name));
    EXPECT_EQ(run.waitForEnd(), 2);
    const auto errors = run.errors();
    EXPECT_THAT(errors, StartsWith(name.empty() ? "vtflow run: there is no display; "
                                                : "vtflow run: the display cannot be opened "));
    EXPECT_THAT(errors, AllOf(HasSubstr(name), HasSubstr("--pictures")));
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1) << errors;
  }
  // Pictures need none.
  words.insert(words.end(), {"--pictures", path("pictures")});
  DriverProcess pictures(words, display(""));
  EXPECT_EQ(pictures.waitForEnd(), 4);
  EXPECT_TRUE(fs::exists(path("pictures") + "/01-acme.png"));
}

TEST_F(RunCommand, PicturesShowAllOfALongScreenAndItsWait) {
  json fields = json::array();
  for (int i = 0; i < 30; ++i) fields.push_back(flows::textField("field" + std::to_string(i)));
  const auto view = [](const json& rows) {
    return json{{"navTitle", {{"value", "Acme"}}}, {"screenComponentList", {{"value", rows}}}};
  };
  server().addFlow("long",
                   flows::file(flows::document({{"one", "ScreenTemplate1", view(fields)}})));
  EXPECT_EQ(picturesOf("long"), std::vector<std::string>({"01-acme.png", "02-acme-continued.png",
                                                          "03-acme-continued.png"}));

  // It comes a second later than anybody would call at once.
  const auto picture =
      flows::component("image", "logo", "${serverURL}/pictures/slow-1500/hills.png",
                       {{"imageType", "pngURLImage"}, {"height", 120}});
  server().addFlow(
      "slow",
      flows::file(flows::document({{"one", "ScreenTemplate1", view(json::array({picture}))}})));
  EXPECT_EQ(picturesOf("slow"), std::vector<std::string>({"01-acme-loading.png", "02-acme.png"}));
}

TEST_F(RunCommand, ReplacesItsOwnPicturesAndNoOthers) {
  const fs::path pictures = path("pictures");
  const auto first = startFlow({"--pictures", pictures.string()});
  EXPECT_EQ(first->waitForEnd(), 4);
  EXPECT_THAT(first->output(), HasSubstr("result   none"));
  ASSERT_TRUE(fs::exists(pictures / "01-acme.png"));
  fs::rename(pictures / "01-acme.png", pictures / "07-gone.png");
  write("pictures/08-holiday.png", "somebody else's");
  write("pictures/notes.txt", "somebody else's");
  EXPECT_EQ(startFlow({"--pictures", pictures.string()})->waitForEnd(), 4);
  EXPECT_FALSE(fs::exists(pictures / "07-gone.png"));
  for (const char* const name : {"01-acme.png", "08-holiday.png", "notes.txt"}) {
    EXPECT_TRUE(fs::exists(pictures / name)) << name;
  }
}

TEST_F(RunCommand, ShowsAFlowAsItsFileAsks) {
  const auto rightToLeft = write("rtl.json", R"({"look":{"rightToLeft":true}})");
  const auto themed = write("theme.json", R"({"look":{"theme":{"backgroundColor":"#102030"}}})");
  const auto plain = picture({});
  ASSERT_FALSE(plain.empty());
  EXPECT_TRUE(picture({"--look", rightToLeft}) == picture({"--rtl"}));
  EXPECT_FALSE(picture({"--look", rightToLeft}) == plain);
  EXPECT_FALSE(picture({"--look", themed}) == plain);
  EXPECT_TRUE(picture({"--look", themed, "--theme", "backgroundColor=#ffffff"}) ==
              picture({"--theme", "backgroundColor=#ffffff"}));
}

}  // namespace
}  // namespace veltrane::testing
#endif
