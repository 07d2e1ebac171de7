#include "platform/publicsuffix/public_suffix_list.h"

#include <libpsl.h>

#include <mutex>
#include <string>

namespace veltrane::publicsuffix {
namespace {

class List final : public PublicSuffixes {
 public:
  ~List() override {
    if (list_) psl_free(list_);
  }
  List() = default;
  List(const List&) = delete;
  List& operator=(const List&) = delete;

  bool contains(const std::string& domain) const override {
    std::call_once(read_, [this] { list_ = read(); });
    // A list that is missing lets nothing through.
    constexpr int kListedOnly = PSL_TYPE_ANY | PSL_TYPE_NO_STAR_RULE;
    return !list_ || psl_is_public_suffix2(list_, domain.c_str(), kListedOnly) != 0;
  }

 private:
  static psl_ctx_t* read() {
#ifdef VELTRANE_LATE_psl
    if (!veltrane_late_load_psl()) return nullptr;
#endif
    return psl_latest(nullptr);
  }

  mutable std::once_flag read_;
  mutable psl_ctx_t* list_ = nullptr;
};

}  // namespace

std::shared_ptr<const PublicSuffixes> make() {
  return std::make_shared<List>();
}

}  // namespace veltrane::publicsuffix
