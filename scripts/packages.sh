# Sourced by the other scripts: makes sure that Debian packages are installed.
#   need PACKAGE...   installs those that are missing; without the right to install, names them and stops.

need() {
    missing=
    for package in "$@"; do
        status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || status=
        [ "$status" = installed ] || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" -eq 0 ]; then
        as_root=
    elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
        as_root=sudo
    else
        echo "These Debian packages are missing, and this user may not install them:$missing" >&2
        echo "Have them installed with: apt-get install$missing" >&2
        exit 1
    fi
    echo "Installing Debian packages:$missing"
    log=$(mktemp)
    # shellcheck disable=SC2086
    if ! { $as_root apt-get update && $as_root env DEBIAN_FRONTEND=noninteractive \
           apt-get install -y --no-install-recommends $missing; } >"$log" 2>&1; then
        tail -n 20 "$log" >&2
        echo "The packages could not be installed; the last lines of apt-get are above." >&2
        rm -f "$log"
        exit 1
    fi
    rm -f "$log"
}

BUILD_PACKAGES="cmake ninja-build gcc g++ libc6-dev libsimpleini-dev libcli11-dev libfmt-dev nlohmann-json3-dev \
    libncurses-dev python3"

# Runs a command and shows its output only when it fails.
quietly() {
    output=$(mktemp)
    if ! "$@" >"$output" 2>&1; then
        cat "$output" >&2
        rm -f "$output"
        echo "failed: $*" >&2
        exit 1
    fi
    rm -f "$output"
}
