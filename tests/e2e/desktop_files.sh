#!/usr/bin/env bash
# The desktop integration files: the desktop entry and the AppStream metainfo
# pass their validators, and the PNG icons exist at every size, as PNGs of the
# size their folder names.
set -u
packaging="$1"
fail=0
desktop-file-validate "$packaging/org.rz48.Panel.desktop" || { echo "desktop entry refused"; fail=1; }
appstreamcli validate --no-net "$packaging/org.rz48.Panel.metainfo.xml" >/dev/null \
  || { appstreamcli validate --no-net "$packaging/org.rz48.Panel.metainfo.xml"; echo "metainfo refused"; fail=1; }
# The MIME types: the database tool takes the file, and names the types the
# desktop entry declares by the files' globs and contents.
mime=$(mktemp -d)
mkdir -p "$mime/packages"
cp "$packaging/org.rz48.Panel.mime.xml" "$mime/packages/"
xmllint --noout --schema /usr/share/shared-mime-info/shared-mime-info.xsd "$packaging/org.rz48.Panel.mime.xml" 2>/dev/null \
  || [ ! -f /usr/share/shared-mime-info/shared-mime-info.xsd ] || { echo "MIME file refused by its schema"; fail=1; }
XDG_DATA_DIRS="$(dirname "$mime")" update-mime-database "$mime" 2>"$mime/err" && ! grep -qv -e "^$" -e "search path" -e "XDG_DATA" -e "able to find" -e "set them" -e "currently searched" -e "^- " "$mime/err" || { echo "MIME file refused: $(cat "$mime/err")"; fail=1; }
grep -q "^application/x-rz48-cues:\*\.rz48cues$" "$mime/globs" || { echo "no glob for .rz48cues"; fail=1; }
grep -q "^application/x-rz48-setup:\*\.rz48setup$" "$mime/globs" || { echo "no glob for .rz48setup"; fail=1; }
grep -q "^MimeType=application/x-rz48-cues;$" "$packaging/org.rz48.Panel.desktop" || { echo "the desktop entry declares no cue list type"; fail=1; }
rm -rf "$mime"
for n in 16 24 32 48 64 128 256; do
  f="$packaging/icons/${n}x${n}/org.rz48.Panel.png"
  [ -f "$f" ] || { echo "missing: $f"; fail=1; continue; }
  # The PNG signature, then the IHDR chunk's width and height (bytes 16 to 23).
  header=$(od -An -tx1 -N24 "$f" | tr -d ' \n')
  [ "${header:0:16}" = "89504e470d0a1a0a" ] || { echo "not a PNG: $f"; fail=1; continue; }
  [ $((16#${header:32:8})) -eq "$n" ] && [ $((16#${header:40:8})) -eq "$n" ] \
    || { echo "$f is $((16#${header:32:8}))x$((16#${header:40:8})), not ${n}x${n}"; fail=1; }
done
exit $fail
