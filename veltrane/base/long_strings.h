#pragma once

#include <cstddef>
#include <iterator>
#include <string_view>
#include <vector>

namespace veltrane {

/// The contents of the long plain strings in JSON text, in their order. Plain: printable ASCII
/// without escapes, as Base64 is, so that the text of the string is its value. A reader that steps
/// over them need not look at each of their characters.
///
/// Right for every text that is JSON. In other text they may be anything between two quotes; what
/// is left without them is no JSON then either.
std::vector<std::string_view> longPlainStrings(std::string_view text);

/// JSON text from which some strings' contents are left out, character by character.
class TextWithGaps {
 public:
  /// `gaps` lie within `text`, in its order, none of them empty; both outlive this.
  TextWithGaps(std::string_view text, const std::vector<std::string_view>& gaps)
      : text_(text), gaps_(gaps) {}
  TextWithGaps(const TextWithGaps&) = delete;
  TextWithGaps& operator=(const TextWithGaps&) = delete;

  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    reference operator*() const { return *at_; }
    Iterator& operator++() {
      if (++at_ == stop_) skip();
      return *this;
    }
    Iterator operator++(int) {
      Iterator former = *this;
      ++*this;
      return former;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.at_ == b.at_; }

   private:
    friend class TextWithGaps;
    Iterator(TextWithGaps* source, const char* at) : source_(source), at_(at) {}
    /// Steps over the gap that begins here.
    void skip();

    TextWithGaps* source_;
    const char* at_;
    const char* stop_ = nullptr;
  };

  /// Once: the text is read from front to back.
  Iterator begin();
  Iterator end() { return {this, text_.data() + text_.size()}; }

  /// The gap that was stepped over since the last call; null when there was none.
  const std::string_view* takeSkipped();

 private:
  std::string_view text_;
  const std::vector<std::string_view>& gaps_;
  std::size_t next_ = 0;
  bool skipped_ = false;
};

}  // namespace veltrane
