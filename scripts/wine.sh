# Sourced by scripts that run Windows programs: a display and a Wine of their own, for as long as
# the script runs, and `wine PROGRAM ...` to start one.

export WINEPREFIX=$PWD/build/wine WINEDEBUG=-all
# No entries in the user's menus, no offers to download anything.
export WINEDLLOVERRIDES="winemenubuilder.exe=d;mscoree=d;mshtml=d"

wine() { /usr/lib/wine/wine64 "$@"; }

mkdir -p "$WINEPREFIX"
exec {number}<> <(:)
Xvfb -displayfd "$number" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
display=$!
trap '/usr/lib/wine/wineserver64 -k || true; kill "$display"' EXIT
read -r -u "$number" DISPLAY
export DISPLAY=:$DISPLAY

# The display has no window manager: Wine draws the frames itself and waits for nobody.
wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f >/dev/null 2>&1
