#include "veltrane/base/console.h"

#include <algorithm>
#include <array>
#include <iostream>

#include "veltrane/base/dictionary.h"
#include "veltrane/platform.h"

namespace veltrane::console {
namespace {

constexpr std::size_t kLongestValue = std::size_t{64} << 10;

// Secret wherever they appear. The last ones are pictures: a face, or a code that carries a secret.
constexpr std::array<std::string_view, 13> kSecretEverywhere = {"access_token",
                                                                "apiKey",
                                                                "apiSecret",
                                                                "apiToken",
                                                                "clientSecret",
                                                                "sdkToken",
                                                                "token",
                                                                "createCredResponse",
                                                                "imageData",
                                                                "webAuthnResponse",
                                                                "initiateAuthenticationResponse",
                                                                "qr",
                                                                "messageIcon"};

bool isSecret(std::string_view name, const SecretNames& secrets) {
  const auto is = [name](std::string_view secret) { return name == secret; };
  return std::any_of(kSecretEverywhere.begin(), kSecretEverywhere.end(), is) ||
         std::any_of(secrets.begin(), secrets.end(), is);
}

/// A row whose value is a secret: a field whose entry is masked, be it filled in by the server, or
/// a picture, which may be a code that carries a secret.
bool isMaskedField(const JSON& component) {
  const JSON attributes = component["attributes"];
  return attributes["hashedVisibility"].boolean() == true ||
         attributes["imageType"].text() == "pngBase64Image";
}

/// Writes values as compact JSON, secrets masked, and stops once the line is long enough.
class LineWriter {
 public:
  LineWriter(std::string_view text, const SecretNames& secrets)
      : line_(text),
        limit_(text.size() + kLongestValue),
        secrets_(Platform::current().consoleShowsSecrets ? nullptr : &secrets) {}

  void write(const JSON& value) {
    if (isFull()) return;
    if (value.isObject()) return writeObject(value);
    if (value.isArray()) return writeArray(value);
    line_ += value.serialized().value_or("\"(not printable)\"");
  }
  void write(const Dictionary& entries) {
    begin('{');
    for (const auto& [name, value] : entries) writeMember(name, value);
    line_ += '}';
  }
  void write(const std::vector<Dictionary>& list) {
    begin('[');
    for (const Dictionary& entries : list) {
      if (isFull()) break;
      separate();
      write(entries);
      first_ = false;
    }
    line_ += ']';
  }

  std::string finish() {
    if (!isFull()) return std::move(line_);
    line_.resize(limit_);
    while (!line_.empty() && (static_cast<unsigned char>(line_.back()) & 0xC0) == 0x80) {
      line_.pop_back();
    }
    if (!line_.empty() && (static_cast<unsigned char>(line_.back()) & 0x80)) line_.pop_back();
    return line_ + "… (cut)";
  }

 private:
  bool isFull() const { return line_.size() > limit_; }
  void begin(char bracket) {
    line_ += bracket;
    first_ = true;
  }
  void separate() {
    if (!first_) line_ += ',';
    first_ = false;
  }
  void writeObject(const JSON& object) {
    begin('{');
    object.forEachMember([&](std::string_view name, const JSON& value) {
      const bool isFilledIn = name == "value" && isMaskedField(object);
      writeMember(name, isFilledIn && secrets_ ? JSON(kMask) : value);
    });
    line_ += '}';
    first_ = false;
  }
  void writeArray(const JSON& array) {
    begin('[');
    for (std::size_t i = 0; i < array.size() && !isFull(); ++i) {
      separate();
      write(array[i]);
    }
    line_ += ']';
    first_ = false;
  }
  void writeMember(std::string_view name, const JSON& value) {
    if (isFull()) return;
    separate();
    line_ += JSON(name).serialized().value_or("\"(not printable)\"");
    line_ += ':';
    if (secrets_ && isSecret(name, *secrets_)) {
      (line_ += '"').append(kMask) += '"';
    } else {
      write(value);
    }
    first_ = false;
  }

  std::string line_;
  std::size_t limit_;
  const SecretNames* secrets_;
  bool first_ = true;
};

/// Texts of a server or a user must not look like lines of their own.
std::string oneLine(std::string_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string line;
  line.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) {
      line += c;
    } else {
      (line += "\\x") += kDigits[byte >> 4];
      line += kDigits[byte & 15];
    }
  }
  return line;
}

template <typename Value>
void printValue(std::string_view text, const Value& value, const SecretNames& secrets) {
  LineWriter writer(text, secrets);
  writer.write(value);
  print(writer.finish());
}

JSON maskedMembers(const JSON& value, const SecretNames& secrets) {
  if (value.isArray()) {
    std::vector<JSON> items;
    for (std::size_t i = 0; i < value.size(); ++i)
      items.push_back(maskedMembers(value[i], secrets));
    return JSON::array(items);
  }
  if (!value.isObject()) return value;
  Dictionary entries;
  const bool isField = isMaskedField(value);
  value.forEachMember([&](std::string_view name, const JSON& member) {
    const bool hidden = isSecret(name, secrets) || (isField && name == "value");
    entries.set(name, hidden ? JSON(kMask) : maskedMembers(member, secrets));
  });
  return JSON(entries);
}

}  // namespace

void print(std::string_view line) {
  const std::string one = oneLine(line);
  if (const auto& sink = Platform::current().console) {
    sink->print(one);
  } else {
    std::clog << one + '\n' << std::flush;
  }
}

void print(std::string_view text, const JSON& value, const SecretNames& secrets) {
  printValue(text, value, secrets);
}

void print(std::string_view text, const Dictionary& value, const SecretNames& secrets) {
  printValue(text, value, secrets);
}

void print(std::string_view text, const std::vector<Dictionary>& value) {
  printValue(text, value, {});
}

JSON secret(const JSON& value) {
  return Platform::current().consoleShowsSecrets ? value : JSON(kMask);
}

JSON masked(const JSON& value, const SecretNames& secrets) {
  return Platform::current().consoleShowsSecrets ? value : maskedMembers(value, secrets);
}

}  // namespace veltrane::console
