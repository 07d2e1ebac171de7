#pragma once

#include <filesystem>

namespace veltrane::sandbox {

/// Where the server's certificate, its key and the authority that signed it are, all PEM.
struct Certificates {
  std::filesystem::path authority;
  std::filesystem::path certificate;
  std::filesystem::path key;
};

/// The certificates of this state folder. Made, together with their authority, when there are none
/// or when they have expired, do not fit together or cannot be read. The authority's own key is
/// never written: nobody can sign another certificate with an authority that a developer has told
/// a machine to trust.
///
/// Safe against other processes that do the same in the same folder. Throws std::runtime_error when
/// the folder cannot be written.
Certificates certificatesIn(const std::filesystem::path& stateFolder);

}  // namespace veltrane::sandbox
