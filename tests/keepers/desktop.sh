#!/bin/sh
# Runs a program in a desktop session of its own, with a home, a bus and on it
#   none      no secret service
#   new       a keyring service that was never used
#   unlocked  one with an open keyring; its process is $KEYRING
# usage: desktop.sh none|new|unlocked PROGRAM [ARGUMENT]...
set -eu
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
mkdir -m 700 "$home/run"
# Starts nothing by itself.
cat > "$home/bus.conf" << END
<busconfig>
  <type>session</type>
  <listen>unix:tmpdir=$home/run</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/><allow own="*"/>
  </policy>
</busconfig>
END
export HOME="$home" XDG_RUNTIME_DIR="$home/run" KIND="$1"
unset DISPLAY WAYLAND_DISPLAY XDG_DATA_HOME XDG_CONFIG_HOME XDG_CACHE_HOME DBUS_SESSION_BUS_ADDRESS
shift
dbus-run-session --config-file="$home/bus.conf" -- sh -eu -c '
  if [ "$KIND" != none ]; then
    if [ "$KIND" = unlocked ]; then unlock=--unlock; else unlock=; fi
    printf password > "$HOME/password"
    gnome-keyring-daemon --foreground --components=secrets $unlock < "$HOME/password" > /dev/null &
    export KEYRING=$!
    trap "kill -9 $KEYRING" EXIT
    gdbus wait --session --timeout 60 org.freedesktop.secrets
  fi
  "$@"' sh "$@"
