// Writes down what an honest key answers, as seeds for the hostile one.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "fuzz/key_talk.h"

namespace {

using namespace veltrane;

std::string chunk(const std::string& answer) {
  return std::string{static_cast<char>(answer.size() & 0xFFU),
                     static_cast<char>(answer.size() >> 8U)} +
         answer;
}

std::string record(testing::SimulatedCtap& ctap, unsigned wish) {
  std::string tape{static_cast<char>(wish)};
  testing::SimulatedKeys keys;
  keys.plugIn("key", std::make_shared<testing::SimulatedKey>([&](std::string_view request) {
                auto reply = ctap.answer(request);
                if (reply.whenTouched) reply.bytes = reply.whenTouched();
                tape += chunk(reply.bytes);
                return testing::SimulatedCtap::Reply{reply.bytes, {}};
              }));
  fuzz::talkTo(keys.open("key"), fuzz::Wish(wish));
  return tape;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " FOLDER\n";
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  std::filesystem::create_directories(folder);
  for (const std::string kind : {"plain", "PIN", "reader"}) {
    testing::SimulatedCtap ctap(
        {.pin = kind == "PIN" ? fuzz::kPIN : "", .hasReader = kind == "reader", .mostIds = 2});
    for (const unsigned wish : {1U, 3U, 7U, 1U, 0U, 2U, 4U, 6U}) {
      const std::string name = kind + "-" + std::to_string(wish);
      std::ofstream(folder / name, std::ios::binary) << record(ctap, wish);
    }
  }
}
