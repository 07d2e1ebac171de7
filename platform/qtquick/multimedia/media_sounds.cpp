#include "platform/qtquick/multimedia/media_sounds.h"

#include <QAudioDevice>
#include <QAudioFormat>
#include <QAudioSink>
#include <QIODevice>
#include <QMediaDevices>
#include <cstdint>

#include "platform/qtquick/multimedia/tone.h"

namespace veltrane::qtquick::multimedia {
namespace {

constexpr int kSamplesPerSecond = 44'100;
/// Short, so that a tone follows the face.
constexpr int kBufferedMicroseconds = 60'000;

QAudioFormat monoFormat() {
  QAudioFormat format;
  format.setSampleRate(kSamplesPerSecond);
  format.setChannelCount(1);
  format.setSampleFormat(QAudioFormat::Int16);
  return format;
}

/// The tone as the device reads it: without end.
class ToneReader final : public QIODevice {
 public:
  explicit ToneReader(Tone& tone) : tone_(tone) {
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
  }

  bool isSequential() const override { return true; }
  qint64 bytesAvailable() const override {
    return kSamplesPerSecond * qint64{sizeof(std::int16_t)} + QIODevice::bytesAvailable();
  }

 protected:
  qint64 readData(char* data, qint64 room) override {
    const auto samples = static_cast<std::size_t>(room) / sizeof(std::int16_t);
    tone_.fill(reinterpret_cast<std::int16_t*>(data), samples);
    return static_cast<qint64>(samples * sizeof(std::int16_t));
  }
  qint64 writeData(const char* /*data*/, qint64 /*size*/) override { return -1; }

 private:
  Tone& tone_;
};

class MediaSounds final : public CaptureSounds {
 public:
  explicit MediaSounds(const QAudioDevice& device) : sink_(device, monoFormat()) {
    sink_.setBufferSize(monoFormat().bytesForDuration(kBufferedMicroseconds));
    sink_.start(&reader_);
  }
  ~MediaSounds() override { sink_.stop(); }

  void setNearness(std::optional<double> nearness) override { tone_.setNearness(nearness); }
  void pictureTaken() override { tone_.pictureTaken(); }

 private:
  Tone tone_{kSamplesPerSecond};
  ToneReader reader_{tone_};
  QAudioSink sink_;
};

}  // namespace

std::shared_ptr<CaptureSounds> makeSounds() {
  const QAudioDevice device = QMediaDevices::defaultAudioOutput();
  if (device.isNull() || !device.isFormatSupported(monoFormat())) return nullptr;
  return std::make_shared<MediaSounds>(device);
}

}  // namespace veltrane::qtquick::multimedia
