#include <cstddef>
#include <cstdio>
// libjpeg's header needs <cstdio> before it.
#include <jerror.h>
#include <jpeglib.h>

#include <csetjmp>
#include <cstdlib>

#include "platform/pictures/decoders.h"
#include "platform/pictures/pixels.h"

namespace veltrane::pictures {
namespace {

/// A progressive picture is held whole, in 16 bits a value, while it is read.
constexpr long kMaxMemory = 256L << 20;
constexpr int kMaxScans = 500;
/// Pixels that all scans together may go over, beyond the first few scans, which any picture has.
constexpr std::int64_t kMaxScanWork = std::int64_t{1} << 30;

/// libjpeg reports errors with a call that must not return: each step below that calls the library
/// sets the place to jump to, and owns nothing that the jump would leave behind.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}
  ~Reader() { jpeg_destroy_decompress(&jpeg_); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool readHeader(PixelSize& size);
  bool readRows(Picture& picture);
  std::string_view exif() const;

 private:
  static Reader& self(j_common_ptr jpeg) { return *static_cast<Reader*>(jpeg->client_data); }
  [[noreturn]] static void onError(j_common_ptr jpeg) { std::longjmp(self(jpeg).landing_, 1); }
  static void onMessage(j_common_ptr jpeg, int level);
  static void onProgress(j_common_ptr jpeg);
  void prepare();
  void setSource();
  bool isCMYK() const { return jpeg_.out_color_space == JCS_CMYK; }

  std::string_view bytes_;
  jpeg_decompress_struct jpeg_{};
  jpeg_error_mgr errors_{};
  jpeg_progress_mgr progress_{};
  jpeg_source_mgr source_{};
  std::jmp_buf landing_{};
};

/// Some files carry stray bytes and are whole all the same; these two say that data is missing.
void Reader::onMessage(j_common_ptr jpeg, int level) {
  if (level >= 0) return;
  const int code = jpeg->err->msg_code;
  if (code == JWRN_HIT_MARKER || code == JWRN_JPEG_EOF) onError(jpeg);
}

void Reader::onProgress(j_common_ptr jpeg) {
  const auto& reader = self(jpeg).jpeg_;
  const std::int64_t pixels = std::int64_t{reader.image_width} * reader.image_height;
  const int scans = reader.input_scan_number;
  if (scans > kMaxScans || (scans > 16 && scans * pixels > kMaxScanWork)) onError(jpeg);
}

void Reader::prepare() {
  jpeg_.err = jpeg_std_error(&errors_);
  errors_.error_exit = onError;
  errors_.emit_message = onMessage;
  errors_.output_message = [](j_common_ptr) {};
  jpeg_.client_data = this;
  jpeg_create_decompress(&jpeg_);
  jpeg_.mem->max_memory_to_use = kMaxMemory;
  progress_.progress_monitor = onProgress;
  jpeg_.progress = &progress_;
}

/// All bytes are there from the start; who asks for more has a picture that is cut short.
void Reader::setSource() {
  source_.next_input_byte = reinterpret_cast<const JOCTET*>(bytes_.data());
  source_.bytes_in_buffer = bytes_.size();
  source_.init_source = [](j_decompress_ptr) {};
  source_.term_source = [](j_decompress_ptr) {};
  source_.resync_to_restart = jpeg_resync_to_restart;
  source_.fill_input_buffer = [](j_decompress_ptr jpeg) -> boolean {
    onError(reinterpret_cast<j_common_ptr>(jpeg));
  };
  source_.skip_input_data = [](j_decompress_ptr jpeg, long count) {
    if (count <= 0) return;
    auto& source = *jpeg->src;
    const auto wanted = static_cast<std::size_t>(count);
    if (wanted > source.bytes_in_buffer) onError(reinterpret_cast<j_common_ptr>(jpeg));
    source.next_input_byte += wanted;
    source.bytes_in_buffer -= wanted;
  };
  jpeg_.src = &source_;
}

bool Reader::readHeader(PixelSize& size) {
  if (setjmp(landing_)) return false;
  prepare();
  setSource();
  jpeg_save_markers(&jpeg_, JPEG_APP0 + 1, 0xFFFF);
  if (jpeg_read_header(&jpeg_, TRUE) != JPEG_HEADER_OK) return false;
  size = {static_cast<int>(jpeg_.image_width), static_cast<int>(jpeg_.image_height)};
  const bool hasFourInks = jpeg_.jpeg_color_space == JCS_CMYK || jpeg_.jpeg_color_space == JCS_YCCK;
  jpeg_.out_color_space = hasFourInks ? JCS_CMYK : JCS_EXT_RGBA;
  return isBearable(size);
}

/// In place: four inks become red, green, blue and alpha. Adobe's files store them inverted.
void inksToPixels(std::uint8_t* pixels, int width, bool isInverted) {
  const unsigned flip = isInverted ? 0 : 255;
  for (std::uint8_t* pixel = pixels; pixel < pixels + 4 * std::ptrdiff_t{width}; pixel += 4) {
    const unsigned black = pixel[3] ^ flip;
    for (int i = 0; i < 3; ++i) pixel[i] = scaled(pixel[i] ^ flip, black);
    pixel[3] = 255;
  }
}

bool Reader::readRows(Picture& picture) {
  if (setjmp(landing_)) return false;
  jpeg_start_decompress(&jpeg_);
  if (jpeg_.output_components != static_cast<int>(Picture::kBytesAPixel)) return false;
  while (jpeg_.output_scanline < jpeg_.output_height) {
    JSAMPROW target = row(picture, static_cast<int>(jpeg_.output_scanline));
    if (jpeg_read_scanlines(&jpeg_, &target, 1) != 1) return false;
    if (isCMYK()) inksToPixels(target, picture.size.width, jpeg_.saw_Adobe_marker != FALSE);
  }
  return jpeg_finish_decompress(&jpeg_) != FALSE;
}

std::string_view Reader::exif() const {
  for (auto* marker = jpeg_.marker_list; marker; marker = marker->next) {
    const std::string_view data(reinterpret_cast<const char*>(marker->data), marker->data_length);
    if (data.starts_with("Exif")) return data;
  }
  return {};
}

}  // namespace

std::optional<Decoded> decodeJPEG(std::string_view bytes) {
  Reader reader(bytes);
  PixelSize size;
  if (!reader.readHeader(size)) return std::nullopt;
  // Read now: the library forgets its markers when it is done.
  Decoded decoded{.picture = unwritten(size),
                  .isPremultiplied = true,
                  .orientation = orientationOf(reader.exif())};
  if (!reader.readRows(decoded.picture)) return std::nullopt;
  return decoded;
}

}  // namespace veltrane::pictures
