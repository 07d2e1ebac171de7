// Takes the documents and answers out of the sandbox's flow files, as seeds for the fuzzers.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "veltrane/base/json.h"

namespace {

using veltrane::JSON;

void write(const std::filesystem::path& file, const JSON& value) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file) << value.serialized().value_or("");
}

/// Every object below `value` that stands under the name "answer".
void writeAnswers(const JSON& value, const std::filesystem::path& folder, const std::string& name,
                  int& count) {
  for (std::size_t i = 0; value.isArray() && i < value.size(); ++i) {
    writeAnswers(value[i], folder, name, count);
  }
  value.forEachMember([&](std::string_view member, const JSON& child) {
    if (member == "answer" && child.isObject()) {
      const std::string file = name + "-" + std::to_string(count++) + ".json";
      write(folder / "document_rows" / file, child);
      write(folder / "error_body" / file, child);
    }
    writeAnswers(child, folder, name, count);
  });
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: " << argv[0] << " FOLDER FLOW.json...\n";
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  for (int i = 2; i < argc; ++i) {
    std::ifstream file(argv[i], std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const auto flow = JSON::parse(text);
    if (!flow.ok() || !flow.value["start"].isObject()) {
      std::cerr << argv[i] << ": no flow file. " << flow.error << '\n';
      return 1;
    }
    const std::string name = std::filesystem::path(argv[i]).stem();
    write(folder / "document_rows" / (name + ".json"), flow.value["start"]);
    write(folder / "method_list" / (name + ".json"), flow.value["start"]);
    int count = 0;
    writeAnswers(flow.value, folder, name, count);
  }
}
