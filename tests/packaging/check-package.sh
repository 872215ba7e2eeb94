#!/usr/bin/env bash
# Checks what the build installs and packages, with the tools the desktop and
# Debian use to judge such files.
#
#   check-package.sh metadata|install|deb BUILD_DIR SOURCE_DIR HAS_APP
#
# HAS_APP is 1 when the build has the quiven-config target; its files are
# expected exactly then.
set -euo pipefail

CHECK="$1"
BUILD="$2"
SOURCE="$3"
HAS_APP="$4"
APP_ID=com.norvalis.QUIVENConfiguration
HERE="$(cd "$(dirname "$0")" && pwd)"

# Lintian warnings that are accepted, each for a reason:
#   uses-dpkg-database-directly: the ruleset generator of quivenctl writes
#     sample rules about /var/lib/dpkg/; the tool never reads the database.
# Any other warning fails the check.
ACCEPTED_LINTIAN_WARNINGS="uses-dpkg-database-directly"

WORK="$(mktemp -d)"
trap 'rm -rf "$WORK"' EXIT

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

expected_files() {
    local line
    while IFS= read -r line; do
        case "$line" in
        '#'* | '') ;;
        'app: '*) [ "$HAS_APP" = 1 ] && echo "${line#app: }" ;;
        *) echo "$line" ;;
        esac
    done <"$HERE/installed-files.txt" | sort
}

stage_install() {
    DESTDIR="$WORK/root" cmake --install "$BUILD" --prefix /usr >"$WORK/install.log" ||
        fail "cmake --install failed: $(cat "$WORK/install.log")"
}

same_lists() {
    local what="$1" expected="$2" actual="$3"
    if ! diff -u "$expected" "$actual" >"$WORK/diff"; then
        cat "$WORK/diff" >&2
        fail "$what: $(basename "$actual") differs from $(basename "$expected") (- expected, + found)"
    fi
}

# The words of a "Commands" list: the first word of each entry.
help_commands() { sed -n '/^Commands:$/,/^$/p' | sed -n 's/^  \([a-z][a-z-]*\) .*/\1/p'; }
man_commands() { sed -n '/^ *Commands:$/,/^[^ ]/p' | sed -n 's/^       \([a-z][a-z-]*\)\( .*\)\{0,1\}$/\1/p'; }

check_metadata() {
    desktop-file-validate "$BUILD/packaging/$APP_ID.desktop" >"$WORK/desktop.log" 2>&1 || true
    [ ! -s "$WORK/desktop.log" ] || fail "desktop-file-validate: $(cat "$WORK/desktop.log")"

    appstreamcli validate --no-net --no-color "$BUILD/packaging/$APP_ID.metainfo.xml" >"$WORK/metainfo.log" 2>&1 ||
        fail "appstreamcli validate: $(cat "$WORK/metainfo.log")"
    if grep -E '^(E|W):' "$WORK/metainfo.log"; then
        fail "appstreamcli reports errors or warnings"
    fi

    xmllint --noout --nonet "$SOURCE"/dbus/*.xml "$SOURCE/dbus/com.norvalis.quiven.policy" ||
        fail "xmllint rejects an interface or the polkit action"

    # The bus refuses to start when an included policy does not parse.
    stage_install
    local config="$WORK/bus.conf" policy
    {
        echo '<busconfig><type>system</type><auth>EXTERNAL</auth>'
        echo "<listen>unix:path=$WORK/bus.socket</listen>"
        echo '<policy context="default"><allow user="*"/></policy>'
        for policy in "$WORK"/root/usr/share/dbus-1/system.d/*.conf; do
            echo "<include>$policy</include>"
        done
        echo '</busconfig>'
    } >"$config"
    local pid
    pid="$(dbus-daemon --config-file="$config" --fork --print-pid 2>"$WORK/bus.log")" ||
        fail "dbus-daemon does not start with the installed policies: $(cat "$WORK/bus.log")"
    kill "$pid"
}

check_install() {
    stage_install
    expected_files >"$WORK/expected"
    (cd "$WORK/root" && find . ! -type d | sed 's|^\./||' | sort) >"$WORK/installed"
    same_lists "the installed tree" "$WORK/expected" "$WORK/installed"

    local root="$WORK/root" name daemon unit
    for activation in "$root"/usr/share/dbus-1/system-services/*.service; do
        name="$(basename "$activation" .service)"
        grep -qx "Name=$name" "$activation" || fail "$activation does not name $name"
        grep -qx 'User=root' "$activation" || fail "$activation does not run as root"
        daemon="$(sed -n 's/^Exec=\([^ ]*\).*/\1/p' "$activation")"
        [ -x "$root$daemon" ] || fail "$activation starts $daemon, which is not installed"
        unit="$(sed -n 's/^SystemdService=//p' "$activation")"
        [ -f "$root/lib/systemd/system/$unit" ] || fail "$activation names the missing unit $unit"
        grep -q "^BusName=$name$" "$root/lib/systemd/system/$unit" || fail "$unit does not own $name"
    done

    # The installed program, its manual page and its completion list the same commands.
    local ctl="$root/usr/bin/quivenctl"
    "$ctl" --help | help_commands >"$WORK/help-commands"
    [ -s "$WORK/help-commands" ] || fail "quivenctl --help lists no commands"
    MANWIDTH=200 man -l "$root/usr/share/man/man1/quivenctl.1.gz" 2>/dev/null | col -bx | man_commands \
        >"$WORK/man-commands"
    same_lists "the commands of the manual page" "$WORK/help-commands" "$WORK/man-commands"
    "$ctl" --list-commands | cut -d' ' -f1 >"$WORK/listed-commands"
    same_lists "the commands of --list-commands" "$WORK/help-commands" "$WORK/listed-commands"

    local completion="$root/usr/share/bash-completion/completions/quivenctl"
    complete_words() {
        PATH="$root/usr/bin:$PATH" bash -c 'source "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1));
            _quivenctl; printf "%s\n" "${COMPREPLY[@]}" | sort | tr "\n" " "' _ "$completion" "$@"
    }
    [ "$(complete_words quivenctl se)" = "settings " ] || fail "completion of 'se': $(complete_words quivenctl se)"
    [ "$(complete_words quivenctl rules "")" = "add delete export import list match " ] ||
        fail "completion of 'rules': $(complete_words quivenctl rules "")"
    [ "$(complete_words quivenctl daemon enable --c)" = "--cleanup " ] ||
        fail "completion of 'daemon enable --c': $(complete_words quivenctl daemon enable --c)"

    # The installed tool finds the customization file of its own installation.
    local bus
    bus="$(dbus-daemon --session --fork --print-address=1 --print-pid=1 | tr '\n' ' ')" ||
        fail "no private bus for the customization check"
    set -- $bus
    DBUS_SYSTEM_BUS_ADDRESS="$1" QT_LOGGING_RULES='com.norvalis.NVCCustomization.info=true' \
        "$ctl" rules list >/dev/null 2>"$WORK/customization.log" || true
    kill "$2"
    grep -qF "Customization loaded from \"$root/usr/share/quiven/gui/customization.json\"" \
        "$WORK/customization.log" || fail "quivenctl did not read the installed customization file: \
$(cat "$WORK/customization.log")"

    if [ "$HAS_APP" = 1 ]; then
        MANWIDTH=200 man -l "$root/usr/share/man/man1/quiven-config.1.gz" 2>/dev/null | grep -q -- '--help' ||
            fail "the manual page of quiven-config does not show its options"
    fi
}

check_deb() {
    expected_files >"$WORK/expected"
    cpack --config "$BUILD/CPackConfig.cmake" -G DEB -B "$WORK/deb" >"$WORK/cpack.log" 2>&1 ||
        fail "cpack: $(cat "$WORK/cpack.log")"
    local version deb
    version="$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")$/\1/p' "$BUILD/CPackConfig.cmake")"
    deb="$WORK/deb/quiven-configuration_${version}_$(dpkg --print-architecture).deb"
    [ -f "$deb" ] || fail "cpack made $(ls "$WORK/deb"), not $(basename "$deb")"

    dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { print $6 }' | sed 's|^\./||' | sort >"$WORK/packaged"
    same_lists "the package" "$WORK/expected" "$WORK/packaged"
    dpkg-deb -f "$deb" Depends | grep -q 'libqt6core6' || fail "Depends was not computed from the libraries"

    lintian --tag-display-limit 0 "$deb" >"$WORK/lintian.log" 2>&1 || true
    cat "$WORK/lintian.log"
    if grep -E '^E:' "$WORK/lintian.log"; then
        fail "lintian reports errors"
    fi
    local tag
    for tag in $(sed -n 's/^W: [^ ]* \([^ ]*\).*/\1/p' "$WORK/lintian.log" | sort -u); do
        case " $ACCEPTED_LINTIAN_WARNINGS " in
        *" $tag "*) ;;
        *) fail "lintian warns '$tag', which is not among the accepted warnings" ;;
        esac
    done
}

case "$CHECK" in
metadata) check_metadata ;;
install) check_install ;;
deb) check_deb ;;
*) fail "unknown check '$CHECK'" ;;
esac
echo "packaging $CHECK: ok"
