#!/usr/bin/env bash
# The installed player: installs the build into a DESTDIR, checks the tree,
# validates the desktop entry and the AppStream metadata, runs the installed
# binary with a clip (it must find its languages and icons in
# ../share/zelvaro/ and show the picture), then builds the .deb with CPack
# and lists it. Needs a display (make test runs under Xvfb).
# Usage: install_test.sh <build dir> <fixture dir>
set -euo pipefail
build=$1
fixtures=$2
work=$(mktemp -d /tmp/zelvaro-install.XXXXXX)
trap 'rm -rf "$work"' EXIT
root=$work/root
failures=0
fail() { echo "FAIL: $*"; failures=$((failures + 1)); }

DESTDIR=$root cmake --install "$build" --prefix /usr >/dev/null

expected=(
  usr/bin/zelvaro
  usr/share/applications/zelvaro.desktop
  usr/share/metainfo/zelvaro.metainfo.xml
  usr/share/man/man1/zelvaro.1
  usr/share/icons/hicolor/scalable/apps/zelvaro.svg
  usr/share/icons/hicolor/48x48/apps/zelvaro.png
  usr/share/icons/hicolor/256x256/apps/zelvaro.png
  usr/share/zelvaro/Language/en.ini
  usr/share/zelvaro/License.txt
  usr/share/zelvaro/License2.txt
  usr/share/zelvaro/skins/default/Icons/play.png
  usr/share/zelvaro/skins/default/Icons/play@2x.png
  usr/share/zelvaro/skins/default/Icons/zelvaro_48.png
)
for file in "${expected[@]}"; do
  [[ -f "$root/$file" ]] || fail "not installed: /$file"
done
# Nothing but the program beside the executable: resources come from share/.
[[ "$(ls "$root/usr/bin")" == zelvaro ]] || fail "more than the program in bin/: $(ls "$root/usr/bin")"

entry=$root/usr/share/applications/zelvaro.desktop
for line in 'Type=Application' 'Name=Zelvaro' 'GenericName=Media Player' 'Icon=zelvaro' \
  'Exec=zelvaro %U' 'Terminal=false' 'Categories=AudioVideo;Player;Video;Audio;'; do
  grep -qxF "$line" "$entry" || fail "desktop entry lacks '$line'"
done
for type in video/mp4 video/x-matroska audio/mpeg audio/flac; do
  grep -q "^MimeType=.*$type;" "$entry" || fail "desktop entry lacks MIME type $type"
done
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$entry" || fail "desktop-file-validate"
else
  echo "SKIP check: desktop-file-validate is not installed (Debian package desktop-file-utils)"
fi
if command -v appstreamcli >/dev/null; then
  appstreamcli validate --no-net "$root/usr/share/metainfo/zelvaro.metainfo.xml" ||
    fail "appstreamcli validate"
else
  echo "SKIP check: appstreamcli is not installed (Debian package appstream)"
fi

# The help text is a language file's: found only through ../share/zelvaro/.
"$root/usr/bin/zelvaro" --help | grep -q '^Usage: zelvaro' || fail "--help did not find the language files"

# The installed program plays a clip of four coloured quarters; its window
# must show them.
export XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data
ZELVARO_DEMO_SCREENSHOT=$work/shot.png ZELVARO_DEMO_SECONDS=3 \
  "$root/usr/bin/zelvaro" "$fixtures/pattern_h264_aac.mp4" 2>"$work/stderr.log" ||
  { cat "$work/stderr.log"; fail "the installed program did not run"; }
if [[ -f "$work/shot.png" ]]; then
  ffmpeg -nostdin -loglevel error -i "$work/shot.png" -f rawvideo -pix_fmt rgb24 "$work/shot.rgb"
  python3 - "$work/shot.rgb" <<'PY' || fail "the picture is not in the window"
import sys
data = open(sys.argv[1], "rb").read()
counts = {"red": 0, "lime": 0, "blue": 0}
for i in range(0, len(data) - 2, 3):
    r, g, b = data[i], data[i + 1], data[i + 2]
    if r > 200 and g < 60 and b < 60: counts["red"] += 1
    elif g > 200 and r < 60 and b < 60: counts["lime"] += 1
    elif b > 200 and r < 60 and g < 60: counts["blue"] += 1
print("pixels per quarter colour:", counts)
sys.exit(0 if min(counts.values()) > 1000 else 1)
PY
fi

# The package, built from the same tree.
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/package" >"$work/cpack.log" 2>&1 ||
  { cat "$work/cpack.log"; fail "cpack"; }
deb=$(find "$work/package" -maxdepth 1 -name 'zelvaro_*.deb' | head -n 1)
if [[ -n "$deb" ]]; then
  listing=$(dpkg-deb -c "$deb")
  for file in "${expected[@]}"; do
    grep -q " \./$file\$" <<<"$listing" || fail "the .deb lacks /$file"
  done
  depends=$(dpkg-deb -f "$deb" Depends)
  echo "Depends: $depends"
  for package in libqt6widgets6 libgstreamer1.0-0 gstreamer1.0-libav; do
    grep -q "$package" <<<"$depends" || fail "the .deb does not depend on $package"
  done
else
  fail "no .deb was made"
fi

[[ $failures -eq 0 ]] || { echo "$failures failures"; exit 1; }
echo "installed tree, desktop entry, metadata, installed program and package: all good"
