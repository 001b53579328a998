# Sourced: check_installed_tree PREFIX checks an installed tree under PREFIX (usr or a custom
# prefix): the app folder, the links on PATH, manual pages, copyright and changelog, desktop
# entry, metainfo and icons.

check_installed_tree() {
    local prefix=$1 id=com.nimbra.MobileLauncher
    contents="$prefix/lib/nimbra-mobile-launcher/Nimbra Mobile Launcher.app/Contents"
    launcher="$contents/MacOS/nimbra-mobile-launcher"
    [ -x "$launcher" ] || fail "no launcher at $launcher"
    # Test programs share the build tree's MacOS folder; none of them may be installed.
    [ "$(ls "$contents/MacOS" | tr '\n' ' ')" = \
        "nimbra-mobile-launch nimbra-mobile-launcher nimbra-mobile-supervise " ] ||
        fail "MacOS holds more than the launcher, its companion and supervisor: $(ls "$contents/MacOS")"
    # Single instance's module, loaded from here once the window is up.
    [ "$(ls "$contents/PlugIns")" = "libnimbra-mobile-instance.so" ] ||
        fail "PlugIns does not hold the single-instance module alone: $(ls "$contents/PlugIns")"
    for file in LauncherDefault.ini LauncherHelp.html; do
        [ -s "$contents/Resources/$file" ] || fail "no $file in Resources"
    done
    [ -x "$contents/Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile" ] ||
        fail "no stand-in emulator in Resources"

    local program link
    for program in nimbra-mobile-launcher nimbra-mobile-launch; do
        link="$prefix/bin/$program"
        [ -L "$link" ] || fail "$link is not a symbolic link"
        case "$(readlink "$link")" in
        /*) fail "the link on PATH is absolute: $(readlink "$link")" ;;
        esac
        [ "$(readlink -f "$link")" = "$(readlink -f "$contents/MacOS/$program")" ] ||
            fail "the link on PATH leads to $(readlink -f "$link")"
    done
    check_companion "$prefix"
    check_docs "$prefix"

    local desktop="$prefix/share/applications/$id.desktop"
    desktop-file-validate "$desktop" || fail "desktop-file-validate rejects $desktop"
    grep -qx "Exec=nimbra-mobile-launcher" "$desktop" || fail "Exec does not name the link"
    grep -qx "Icon=$id" "$desktop" || fail "Icon is not $id"
    appstreamcli validate --no-net "$prefix/share/metainfo/$id.metainfo.xml" ||
        fail "appstreamcli rejects the metainfo"

    local icons="$prefix/share/icons/hicolor"
    [ -s "$icons/scalable/apps/$id.svg" ] || fail "no scalable icon"
    for size in 16 24 32 48 64 128 256 512; do
        file -b "$icons/${size}x$size/apps/$id.png" | grep -q "PNG image data, $size x $size" ||
            fail "no ${size}x$size PNG icon"
    done
}

# The command-line companion through its link: --list prints the shipped profiles and its
# completion offers profile names, quoted.
check_companion() {
    local prefix=$1
    local expected listed
    expected=$(sed -n '/^\[Profile\]/,/^$/s/^"\([^"]*\)".*/\1/p' \
        "$contents/Resources/LauncherDefault.ini")
    listed=$(XDG_DATA_HOME="$work/companion-data" "$prefix/bin/nimbra-mobile-launch" --list) ||
        fail "nimbra-mobile-launch --list failed"
    [ -n "$expected" ] && [ "$listed" = "$expected" ] ||
        fail "nimbra-mobile-launch --list printed: $listed"

    local completion="$prefix/share/bash-completion/completions/nimbra-mobile-launch"
    [ -s "$completion" ] || fail "no bash completion"
    # bash-completion's own helper, reduced to what the script uses.
    local reply
    reply=$(XDG_DATA_HOME="$work/companion-data" bash -c '
        _init_completion() {
            words=("${COMP_WORDS[@]}") cword=$COMP_CWORD
            cur=${words[cword]} prev=${words[cword - 1]}
        }
        . "$1" || exit 1
        COMP_WORDS=("$2" --file "$3" Ph) COMP_CWORD=3
        _nimbra_mobile_launch
        printf "%s\n" "${COMPREPLY[@]}"' _ "$completion" "$prefix/bin/nimbra-mobile-launch" \
        "$contents/Resources/LauncherDefault.ini")
    grep -qx 'Phone\\ WVGA\\ hdpi' <<<"$reply" || fail "completion offered: $reply"
    check_supervised_launch "$prefix"
}

# A launch through the link goes through the installed supervisor: the stand-in runs with the
# profile's arguments, the launch leaves a log under the state folder, and nothing is left
# running.
check_supervised_launch() {
    local prefix=$1 state="$work/launch-state" runtime="$work/launch-runtime" log
    mkdir -p "$runtime" && chmod 700 "$runtime"
    XDG_DATA_HOME="$work/companion-data" XDG_STATE_HOME="$state" XDG_RUNTIME_DIR="$runtime" \
        NIMBRA_STANDIN_QUIT=1 "$prefix/bin/nimbra-mobile-launch" --wait "Phone WVGA hdpi" ||
        fail "a launch through the companion failed"
    log=$(ls "$state/Nimbra Mobile/logs/"Phone\ WVGA\ hdpi.*.log 2>/dev/null)
    [ -n "$log" ] && head -n 1 "$log" | grep -q -- '-profile-name "Phone WVGA hdpi"' ||
        fail "the launch left no log: $(ls -R "$state")"
    [ -z "$(XDG_RUNTIME_DIR="$runtime" "$prefix/bin/nimbra-mobile-launch" --running)" ] ||
        fail "an emulator that ended is still listed as running"
}

# Debian's documentation, in every installed tree alike: both programs' manual pages, only
# compressed and reading without warnings, the copyright file and the changelog.
check_docs() {
    local prefix=$1 man1="$prefix/share/man/man1" page
    [ "$(ls "$man1" | tr '\n' ' ')" = "nimbra-mobile-launch.1.gz nimbra-mobile-launcher.1.gz " ] ||
        fail "man1 does not hold the two compressed pages alone: $(ls "$man1")"
    for page in "$man1"/*; do
        [ -z "$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$page" 2>&1 >/dev/null)" ] ||
            fail "$(basename "$page") has warnings"
    done
    local doc="$prefix/share/doc/nimbra-mobile-launcher"
    [ "$(ls "$doc" | tr '\n' ' ')" = "changelog.gz copyright " ] ||
        fail "the documentation folder holds: $(ls "$doc")"
}
