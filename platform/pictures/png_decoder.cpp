#include <png.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>

#include "platform/pictures/decoders.h"
#include "platform/pictures/pixels.h"

namespace veltrane::pictures {
namespace {

constexpr png_uint_32 kMaxSide = 1'000'000;
constexpr png_alloc_size_t kMaxChunk = png_alloc_size_t{1} << 20;
/// A row of the widest picture in sixteen bits a channel, twice. A chunk that only claims to be
/// larger gets no memory: for some kinds libpng asks before it looks at the limit above.
constexpr png_alloc_size_t kMaxBlock = png_alloc_size_t{16} << 20;
constexpr png_uint_32 kMaxChunks = 100;
/// No deflate stream grows by more than this.
constexpr std::uint64_t kMaxGrowth = 1032;

/// libpng reports errors with a long jump: each step below that calls it sets the place to land,
/// and owns nothing that the jump would leave behind.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : left_(bytes), fileSize_(bytes.size()) {
    png_ = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning, nullptr,
                                    onAllocate, onFree);
    if (png_) info_ = png_create_info_struct(png_);
  }
  ~Reader() {
    if (png_) png_destroy_read_struct(&png_, &info_, nullptr);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool readHeader(PixelSize& size);
  bool readRows(Picture& picture);
  std::string_view exif() const;

 private:
  [[noreturn]] static void onError(png_structp png, png_const_charp /*message*/) {
    png_longjmp(png, 1);
  }
  static void onWarning(png_structp /*png*/, png_const_charp /*message*/) {}
  static png_voidp onAllocate(png_structp /*png*/, png_alloc_size_t size) {
    return size <= kMaxBlock ? std::malloc(size) : nullptr;
  }
  static void onFree(png_structp /*png*/, png_voidp block) { std::free(block); }
  static void onRead(png_structp png, png_bytep data, std::size_t size) {
    auto& left = static_cast<Reader*>(png_get_io_ptr(png))->left_;
    if (left.size() < size) png_error(png, "cut short");
    std::memcpy(data, left.data(), size);
    left.remove_prefix(size);
  }
  void limitChunks();
  bool isPlausible() const;

  std::string_view left_;
  std::size_t fileSize_;
  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

/// Text, profiles and the like are skipped, not unpacked.
void Reader::limitChunks() {
  png_set_user_limits(png_, kMaxSide, kMaxSide);
  png_set_chunk_malloc_max(png_, kMaxChunk);
  png_set_chunk_cache_max(png_, kMaxChunks);
  png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  static constexpr png_byte kExif[] = {'e', 'X', 'I', 'f', 0};
  png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_AS_DEFAULT, kExif, 1);
}

/// Whether a file of this size can hold that many pixels: a few bytes need not cost 256 MiB.
bool Reader::isPlausible() const {
  const std::uint64_t unpacked =
      std::uint64_t{png_get_rowbytes(png_, info_)} * png_get_image_height(png_, info_);
  return unpacked / kMaxGrowth <= fileSize_;
}

bool Reader::readHeader(PixelSize& size) {
  if (!info_ || setjmp(png_jmpbuf(png_))) return false;
  png_set_read_fn(png_, this, onRead);
  limitChunks();
  png_read_info(png_, info_);
  size = {static_cast<int>(png_get_image_width(png_, info_)),
          static_cast<int>(png_get_image_height(png_, info_))};
  return isBearable(size) && isPlausible();
}

bool Reader::readRows(Picture& picture) {
  if (setjmp(png_jmpbuf(png_))) return false;
  png_set_expand(png_);
  png_set_scale_16(png_);
  png_set_gray_to_rgb(png_);
  png_set_add_alpha(png_, 255, PNG_FILLER_AFTER);
  const int passes = png_set_interlace_handling(png_);
  png_read_update_info(png_, info_);
  if (png_get_rowbytes(png_, info_) != rowBytes(picture.size)) return false;
  for (int pass = 0; pass < passes; ++pass) {
    for (int y = 0; y < picture.size.height; ++y) png_read_row(png_, row(picture, y), nullptr);
  }
  png_read_end(png_, info_);
  return true;
}

std::string_view Reader::exif() const {
  png_bytep data = nullptr;
  png_uint_32 size = 0;
  if (png_get_eXIf_1(png_, info_, &size, &data) == 0) return {};
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace

std::optional<Decoded> decodePNG(std::string_view bytes) {
  Reader reader(bytes);
  PixelSize size;
  if (!reader.readHeader(size)) return std::nullopt;
  Decoded decoded{.picture = unwritten(size)};
  if (!reader.readRows(decoded.picture)) return std::nullopt;
  decoded.orientation = orientationOf(reader.exif());
  return decoded;
}

}  // namespace veltrane::pictures
