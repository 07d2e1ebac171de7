#pragma once

#include <optional>
#include <string>

#include "apps/sandbox/flow.h"

namespace veltrane::sandbox {

struct Transaction;

/// The page on which a person plays the vendor, or which plays by itself as `play` says. `other`:
/// an origin that is not the page's own.
Reply clientPage(const Transaction& transaction, const std::string& play, const std::string& other);

/// A page in a frame of that page, from another origin, which says that all went well.
Reply foreignPage(const Transaction& transaction);

/// What those pages load; nothing at other paths.
std::optional<Reply> clientAsset(const std::string& path);

}  // namespace veltrane::sandbox
