#include <gtest/gtest.h>

#include <QGuiApplication>
#include <cstdlib>

// What the decoders' own libraries keep until the end is none of ours.
extern "C" const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() {
  return "leak:libavutil\nleak:libavformat\nleak:libavcodec\n";
}

int main(int count, char** words) {
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  // The other one does not play without a display.
  setenv("QT_MEDIA_BACKEND", "ffmpeg", 0);
  testing::InitGoogleTest(&count, words);
  QGuiApplication application(count, words);
  return RUN_ALL_TESTS();
}
