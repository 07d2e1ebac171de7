#!/bin/sh
# Installs what Debian 12 lacks for a purpose: demo, web (a demo with an identity vendor), test,
# bench or ci. Says nothing and takes no time when all is there. Needs root, or sudo.
set -eu

build="ca-certificates curl cmake g++ ninja-build ccache
  libcurl4-openssl-dev libssl-dev libsqlite3-dev nlohmann-json3-dev libcpp-httplib-dev libcli11-dev
  pkg-config libqrencode-dev libpng-dev libjpeg62-turbo-dev libwebp-dev libgif-dev libexif-dev
  libdeflate-dev libzimg-dev libyuv-dev libpixman-1-dev
  libopencv-dnn-dev libopencv-objdetect-dev libopencv-videoio-dev opencv-data python3-onnx
  libfido2-dev libcbor-dev libpsl-dev publicsuffix libtss2-dev libsecret-1-dev libargon2-dev
  qt6-base-dev qt6-declarative-dev qt6-declarative-dev-tools qt6-multimedia-dev
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts
  qml6-module-qtquick-templates qml6-module-qtquick-window qml6-module-qtqml
  qml6-module-qtqml-models qml6-module-qtqml-workerscript qml6-module-qt-labs-qmlmodels
  fonts-dejavu-core"
test="libgtest-dev libgmock-dev qt6-base-private-dev qml6-module-qttest chromium zbar-tools swtpm gnome-keyring
  dbus dbus-daemon"
# Node from elsewhere brings its own npm and gets along with no other.
command -v npm > /dev/null || build="$build nodejs npm"
# The identity vendors' web clients: optional, and large.
web="qt6-webengine-dev qml6-module-qtwebengine qt6-webchannel-dev qml6-module-qtwebchannel
  libnss3-tools"
bench="libbenchmark-dev valgrind libopencv-imgproc-dev"
ci="clang clang-format clang-tidy libclang-rt-14-dev"

case "${1:-}" in
  demo) packages="$build" ;;
  web) packages="$build $web" ;;
  test) packages="$build $test $web" ;;
  bench) packages="$build $bench" ;;
  ci) packages="$build $test $web $ci" ;;
  format) packages="clang-format" ;;
  *)
    echo "usage: $0 demo|web|test|bench|ci|format" >&2
    exit 2
    ;;
esac

if ! command -v apt-get > /dev/null; then
  echo "$0: no apt-get here; assuming that these packages' likes are installed:" $packages >&2
  exit 0
fi

installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' $packages 2> /dev/null || true)
missing=
for package in $packages; do
  printf '%s\n' "$installed" | grep -qx "installed $package" || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo > /dev/null; then
    echo "$0: not root, and no sudo. Please have these packages installed:$missing" >&2
    exit 1
  fi
  as_root="sudo"
fi

echo "Installing:$missing"
apt() {
  $as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300 "$@"
}
apt update
apt install -y --no-install-recommends $missing
