# Sourced: check_installed_tree PREFIX checks an installed tree under PREFIX (usr or a custom
# prefix): the app folder, the link on PATH, desktop entry, metainfo and icons.

check_installed_tree() {
    local prefix=$1 id=com.nimbra.MobileLauncher
    contents="$prefix/lib/nimbra-mobile-launcher/Nimbra Mobile Launcher.app/Contents"
    launcher="$contents/MacOS/nimbra-mobile-launcher"
    [ -x "$launcher" ] || fail "no launcher at $launcher"
    # Test programs share the build tree's MacOS folder; none of them may be installed.
    [ "$(ls "$contents/MacOS")" = nimbra-mobile-launcher ] ||
        fail "MacOS holds more than the launcher: $(ls "$contents/MacOS")"
    for file in LauncherDefault.ini LauncherHelp.html; do
        [ -s "$contents/Resources/$file" ] || fail "no $file in Resources"
    done
    [ -x "$contents/Resources/Nimbra Mobile.app/Contents/MacOS/Nimbra Mobile" ] ||
        fail "no stand-in emulator in Resources"

    local link="$prefix/bin/nimbra-mobile-launcher"
    [ -L "$link" ] || fail "$link is not a symbolic link"
    case "$(readlink "$link")" in
    /*) fail "the link on PATH is absolute: $(readlink "$link")" ;;
    esac
    [ "$(readlink -f "$link")" = "$(readlink -f "$launcher")" ] ||
        fail "the link on PATH leads to $(readlink -f "$link")"

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
