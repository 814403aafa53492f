#!/usr/bin/env bash
# Side-by-side speed of fmconv's folder runs, in one script run:
#
#   30 x 1920x1080 24-bit BMP -> 1080 SFM    against ffmpeg's conversion of the
#                                            same pictures to 10-bit 4:2:2, and
#                                            the copy floor (cat the BMPs)
#   30 x 1080 32-bit TGA -> fill + key SFM   against the floor (read the
#                                            inputs, write the outputs' bytes)
#   30 SFM -> SFA 1080i/59.94, 16 channels   against copying the outputs
#   30 x 1920x1080 PNG, fmconv import        against the picture library alone
#                                            decoding the same PNGs
#
# Five rounds, the commands alternating within each round; the table gives
# medians, ratios and fmconv's peak memory. Installs ffmpeg and GNU time for
# itself when missing (the tests never need them). Usage:
#   bash bench/compare.sh [WORK_FOLDER]
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD

need=()
command -v ffmpeg >/dev/null || need+=(ffmpeg)
[ -x /usr/bin/time ] || need+=(time)
if [ ${#need[@]} -gt 0 ]; then
  sudo_cmd=()
  [ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
  echo "Installing: ${need[*]}" >&2
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends \
    "${need[@]}" >/dev/null
fi

bash tools/deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target fmconv decode_pictures >/dev/null
fmconv=$root/build/release/src/cli/fmconv
decode=$root/build/release/bench/decode_pictures

work=${1:-$(mktemp -d)}
mkdir -p "$work"
cd "$work"
rounds=5

# Inputs.
if [ ! -f bmp/p030.bmp ]; then
  rm -rf bmp tga sfm wav
  mkdir -p bmp tga sfm wav
  ffmpeg -loglevel error -f lavfi -i testsrc2=size=1920x1080:rate=30 -frames:v 30 \
    -start_number 1 bmp/p%03d.bmp
  ffmpeg -loglevel error -f lavfi -i testsrc2=size=1920x1080:rate=30 -frames:v 30 \
    -vf format=bgra -rle 0 -start_number 1 tga/p%03d.tga
  for ch in $(seq 1 16); do
    ffmpeg -loglevel error -f lavfi -i "sine=frequency=$((ch * 250)):sample_rate=48000:duration=1.1" \
      -c:a pcm_s24le "wav/ch$ch.wav"
  done
  "$fmconv" convert --quiet --from image --to sfm bmp sfm >/dev/null
fi
if [ ! -f png/p030.png ]; then
  mkdir -p png
  ffmpeg -loglevel error -f lavfi -i testsrc2=size=1920x1080:rate=30 -frames:v 30 \
    -start_number 1 png/p%03d.png
fi
channels=()
for ch in $(seq 1 16); do channels+=(--ch "$ch=wav/ch$ch.wav"); done

# One timed command: prints "seconds peak_kib". Every command starts with
# the page cache written back, so that no one pays for another's writes.
measure() {
  sync
  /usr/bin/time -f "%e %M" -o time.txt "$@" >/dev/null 2>&1 || { echo "failed: $*" >&2; exit 1; }
  cat time.txt
}
fresh() { rm -rf "$1"; mkdir -p "$1"; }

declare -A times peaks
record() {  # name, then the command; round 0 warms up and is not counted
  local name=$1; shift
  local result
  result=$(measure "$@")
  [ "$round" -gt 0 ] || return 0
  times[$name]+="${result% *} "
  peaks[$name]=$(( ${peaks[$name]:-0} > ${result#* } ? ${peaks[$name]:-0} : ${result#* } ))
}

tga_out_mib=$(((60 * 5188864 + 1048575) / 1048576))  # fill and key of 30 pictures
# Each command writes into its own place, emptied before it runs: some file
# systems write into space just freed much faster than into new space, so
# every command meets the space its own last round left.
for round in $(seq 0 $rounds); do
  fresh out_bmp; record fmconv_bmp "$fmconv" convert --quiet --from image --to sfm bmp out_bmp
  rm -f out.yuv; record ffmpeg_bmp ffmpeg -loglevel error -y -i bmp/p%03d.bmp \
    -vf scale=out_color_matrix=bt709:out_range=tv -pix_fmt yuv422p10le -f rawvideo out.yuv
  rm -f one_bmp.bin; record floor_bmp sh -c 'cat bmp/*.bmp > one_bmp.bin'

  fresh out_tga; record fmconv_tga "$fmconv" convert --quiet --from image --to sfm tga out_tga
  rm -f one_tga.bin; record floor_tga sh -c \
    "cat tga/*.tga > /dev/null && dd if=/dev/zero of=one_tga.bin bs=1M count=$tga_out_mib status=none"

  fresh sfa; record fmconv_sfa "$fmconv" convert --quiet --from sfm --to sfa \
    --sfa-format 1080i/59.94 "${channels[@]}" sfm sfa
  rm -f one_sfa.bin; record floor_sfa sh -c 'cat sfa/*.SFA > one_sfa.bin'

  fresh out_png; record fmconv_png "$fmconv" import --quiet --to sfm out_png png/*.png
  record library_png sh -c "\"$decode\" png/*.png"
done

median() { tr ' ' '\n' | grep -v '^$' | sort -g | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
m() { echo "${times[$1]}" | median; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2fx", a / b }'; }
mib() { awk -v k="$1" 'BEGIN { printf "%.0f MiB", k / 1024 }'; }

printf '\n%-40s %9s %9s %9s %12s %12s %10s\n' "30 frames, medians of $rounds (s)" fmconv ffmpeg floor \
  "vs ffmpeg" "vs floor" "peak mem"
printf '%-40s %9s %9s %9s %12s %12s %10s\n' "1920x1080 24-bit BMP -> 1080 SFM" "$(m fmconv_bmp)" \
  "$(m ffmpeg_bmp)" "$(m floor_bmp)" "$(ratio "$(m fmconv_bmp)" "$(m ffmpeg_bmp)")" \
  "$(ratio "$(m fmconv_bmp)" "$(m floor_bmp)")" "$(mib "${peaks[fmconv_bmp]}")"
printf '%-40s %9s %9s %9s %12s %12s %10s\n' "1080 32-bit TGA -> fill + key SFM" "$(m fmconv_tga)" \
  "-" "$(m floor_tga)" "-" "$(ratio "$(m fmconv_tga)" "$(m floor_tga)")" "$(mib "${peaks[fmconv_tga]}")"
printf '%-40s %9s %9s %9s %12s %12s %10s\n' "SFM -> SFA 1080i/59.94, 16 channels" "$(m fmconv_sfa)" \
  "-" "$(m floor_sfa)" "-" "$(ratio "$(m fmconv_sfa)" "$(m floor_sfa)")" "$(mib "${peaks[fmconv_sfa]}")"
printf '%-40s %9s %9s %9s %12s %12s %10s\n' "1920x1080 PNG, fmconv import -> SFM" "$(m fmconv_png)" \
  "-" "$(m library_png)" "-" "$(ratio "$(m fmconv_png)" "$(m library_png)")" "$(mib "${peaks[fmconv_png]}")"
echo
echo "floors: BMP = cat the BMPs into one file; TGA = read the TGAs, write the outputs' bytes;"
echo "SFA = cat the SFA outputs into one file; PNG = the picture library alone decoding them."
echo "Work folder: $work"
