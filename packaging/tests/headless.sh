# Shared by the install and package tests (sourced): a scratch folder, a private X server and
# a clean run of an installed launcher. The caller sets `closer` to the packaging_closewindow
# program.

work=$(mktemp -d)
xvfb_pid=""
cleanup() {
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# A display number of its own, so parallel tests never share a server.
start_x() {
    Xvfb -displayfd 3 -nolisten tcp -screen 0 1280x1024x24 3>"$work/display" \
        2>"$work/xvfb.log" &
    xvfb_pid=$!
    for _ in $(seq 200); do
        [ -s "$work/display" ] && break
        sleep 0.05
    done
    [ -s "$work/display" ] || fail "Xvfb did not start: $(cat "$work/xvfb.log")"
    export DISPLAY=":$(cat "$work/display")"
}

# run_launcher PROGRAM DATA_HOME [BOXES]: starts the launcher on the private server with its own
# data, temporary and runtime folders, closes its window as a user would, then closes BOXES
# more windows it shows (the box that says the save at exit failed), and sets launcher_status.
# A signal would end it without saving, so only a closed window proves the exit path.
run_launcher() {
    local program=$1 data=$2 boxes=${3:-0}
    mkdir -p "$work/tmp" "$work/runtime"
    chmod 700 "$work/runtime"
    XDG_DATA_HOME="$data" TMPDIR="$work/tmp" XDG_RUNTIME_DIR="$work/runtime" \
        QT_QPA_PLATFORM=xcb WAYLAND_DISPLAY="" "$program" >"$work/launcher.log" 2>&1 &
    local pid=$!
    if ! "$closer" "$pid" 20000; then
        kill "$pid" 2>/dev/null
        wait "$pid"
        fail "the launcher showed no window: $(cat "$work/launcher.log")"
    fi
    for _ in $(seq "$boxes"); do
        # Until the closed window is unmapped the closer could find it again.
        sleep 1
        "$closer" "$pid" 20000 || fail "no box after the window closed: $(cat "$work/launcher.log")"
    done
    # The window is closed; give the event loop and the save at exit time to finish.
    for _ in $(seq 200); do
        kill -0 "$pid" 2>/dev/null || break
        sleep 0.05
    done
    if kill -0 "$pid" 2>/dev/null; then
        kill "$pid"
        fail "the launcher did not quit after its window was closed"
    fi
    wait "$pid"
    launcher_status=$?
}

# The configuration lines of a Launcher.ini: everything but comments and blank lines.
config_lines() {
    grep -v -e '^#' -e '^[[:space:]]*$' "$1"
}
