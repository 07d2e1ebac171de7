#!/bin/bash
# Runs a flow against the sandbox, in a window if there is a display. Without one the same window is
# drawn off screen, fills itself in, and leaves a picture of every screen.
#
#   scripts/demo.sh <build folder> <flow>
#   scripts/demo.sh --check <flow>         only tells whether there is such a flow, with status 2 if not
set -euo pipefail
cd "$(dirname "$0")/.."

flow="$2"
flows=$(basename -as .json apps/sandbox/flows/*.json)
if ! grep -qxF -e "$flow" <<< "$flows"; then
  printf 'There is no flow "%s". There are:\n%s\n' "$flow" "$flows" >&2
  exit 2
fi
[ "$1" != --check ] || exit 0
vtflow="$1/apps/vtflow/vtflow"
script="apps/sandbox/flows/$flow.json"
scratch=$(mktemp -d -t veltrane-demo-XXXXXX)
server=
# What the machine keeps for the passkeys of a window goes with them.
tidy() {
  [ -z "$server" ] || kill "$server" 2> /dev/null || true
  [ ! -e "$scratch/passkeys.db" ] || "$vtflow" passkeys reset --yes --credentials "$scratch/passkeys.db" > /dev/null || true
  rm -rf "$scratch"
}
trap tidy EXIT

exec {ready}< <(exec "$vtflow" serve --port 0 --state "$scratch/sandbox" 2> "$scratch/sandbox.log")
server=$!
if ! read -r -t 60 -u "$ready" word url _ authority || [ "$word" != ready ]; then
  cat "$scratch/sandbox.log" >&2
  echo "The sandbox did not start." >&2
  exit 1
fi
echo "The sandbox serves on $url"
has_display=
[ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] || has_display=yes
# A challenge is opened where an answer names it.
if [ -n "$has_display" ] && grep -qF '${challenge:' "$script"; then
  echo "Where this flow waits for a second device, that is the page ${url%/v1}/approve"
  echo "(a browser warns of its certificate, which only this machine knows)"
fi

# What stands for a camera with a person before it. The window of `vtflow run` by itself uses this
# machine's camera.
camera=()
if grep -qF '"needs": "camera"' "$script"; then
  portrait=grace_hopper.jpg
  photographs=$(scripts/fetch-photographs.sh "$portrait")
  "$1/apps/face_clip/face_clip" "$photographs/$portrait" "$scratch/clip"
  camera=(--camera "$scratch/clip")
  echo "The camera shows a photograph of Grace Hopper (US Navy, in the public domain)."
  [ -z "$has_display" ] || echo "What the sandbox got it shows at ${url%/v1}/face"
fi

# The sandbox stands in for the vendors. A browser takes the sandbox's word once the store of its
# user trusts it, so it gets a user's folder of its own; its engine refuses root as long as it locks
# itself in.
vendors=()
suffix=
if grep -qF '"do": "sdk"' "$script"; then
  vendors=(--identity-vendors "${url%/v1}")
  export XAUTHORITY="${XAUTHORITY:-${HOME:-}/.Xauthority}" HOME="$scratch/home"
  mkdir -p "$HOME/.pki/nssdb"
  certutil -d "sql:$HOME/.pki/nssdb" -N --empty-password
  certutil -d "sql:$HOME/.pki/nssdb" -A -n sandbox -t C,, -i "$authority"
  [ "$(id -u)" -ne 0 ] || export QTWEBENGINE_DISABLE_SANDBOX=1
  # What the engine says of itself is nothing to show.
  export QT_LOGGING_RULES="default.warning=false;default.info=false;qt.webenginecontext*=false"
  [ -n "$has_display" ] || export QTWEBENGINE_CHROMIUM_FLAGS="--disable-gpu --use-fake-device-for-media-stream --log-level=3"
fi

# Plays a flow, with another user name in its script if one is given. Answers by its status how it has ended.
play() {
  local script="apps/sandbox/flows/$1.json" pictures="demo-pictures/$1${2:+-as-${2%@*}}$suffix" status=0
  if [ -n "${2:-}" ]; then
    sed 's/^\(  "demo": .*"text": "\)[^"]*/\1'"$2/" "$script" > "$scratch/script.json"
    script="$scratch/script.json"
  fi
  local arguments=(run --company demo --flow "$1" --base-url "$url" --ca "$authority"
    --look "$script" --store "$scratch/settings.db" --credentials "$scratch/passkeys.db" "${camera[@]}" "${vendors[@]}")
  if [ -n "$has_display" ]; then
    "$vtflow" "${arguments[@]}"
    return
  fi
  mkdir -p "$pictures"
  rm -f "$pictures"/*.png
  QT_QPA_PLATFORM=offscreen XDG_RUNTIME_DIR="${XDG_RUNTIME_DIR:-$scratch}" \
    "$vtflow" "${arguments[@]}" --pictures "$pictures" --script "$script" || status=$?
  if [ ${#camera[@]} -gt 0 ] && [ "$status" -eq 0 ]; then
    curl -sS --cacert "$authority" -o "$pictures/arrived.png" "${url%/v1}/face/picture.png"
    echo "The picture that the sandbox got is $pictures/arrived.png."
  fi
  echo "There is no display: the flow ran off screen. Its screens are in $pictures:"
  ls "$pictures"
  return "$status"
}

# What the flow builds upon, as a sign-in upon its registration.
before=$(sed -n 's/^  "after": "\(.*\)",\{0,1\}$/\1/p' "$script")
if [ -n "$before" ]; then
  echo "Before it the flow $before, which this one builds upon:"
  play "$before"
  another=$(sed -n 's/^  "afterAs": "\(.*\)",\{0,1\}$/\1/p' "$script")
  if [ -n "$another" ]; then
    echo "Once more, for $another:"
    play "$before" "$another"
  fi
  echo "Now the flow $flow:"
fi
status=0
play "$flow" || status=$?
case "$status" in
  0) echo "The flow ended with a response." ;;
  1) echo "The flow ended with an error." ;;
  3) echo "The flow was cancelled." ;;
  *) exit "$status" ;;
esac
if [ ${#vendors[@]} -gt 0 ] && [ -z "$has_display" ]; then
  echo "And where the vendor cannot be reached:"
  vendors=(--identity-vendors https://localhost:9)
  suffix=-without-vendor
  play "$flow" || true
fi
