#!/usr/bin/env bash
# Makes the seed inputs of the MediaDecode and GenSourceOpen fuzz targets: 50 ms of seeded
# noise in each format FFmpeg writes here. GenSourceOpen's first byte picks the extension
# (its index in the target's table).
set -euo pipefail
cd "$(dirname "$0")"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
ffmpeg -v error -f lavfi -i anoisesrc=d=0.05:c=pink:r=44100:a=0.3:s=7 -ac 2 "$tmp/src.wav"
declare -A codecs=([mp3]=libmp3lame [ogg]=libvorbis [flac]=flac [m4a]=aac [opus]=libopus [wma]=wmav2)
declare -A index=([mp3]=1 [ogg]=16 [flac]=17 [m4a]=19 [opus]=33 [wma]=21)
for ext in "${!codecs[@]}"; do
  ffmpeg -v error -i "$tmp/src.wav" -c:a "${codecs[$ext]}" "$tmp/seed.$ext"
  cp "$tmp/seed.$ext" "MediaDecode/seed.$ext"
  { printf "\\x$(printf %02x "${index[$ext]}")"; cat "$tmp/seed.$ext"; } > "GenSourceOpen/seed.$ext"
done
ffmpeg -v error -i "$tmp/src.wav" -c:a aac -f adts "MediaDecode/seed.aac"
