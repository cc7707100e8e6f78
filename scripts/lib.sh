# Sourced by the scripts beside it, with the root of the tree as the working directory.

# install_packages <kind>...: what scripts/packages.txt lists for these kinds and is not there yet.
install_packages() {
    command -v dpkg-query >/dev/null || {
        echo "Not a Debian system: scripts/packages.txt lists what must be installed." >&2
        return 0
    }
    local kind package missing=() as_root=()
    for kind; do
        while read -r package; do
            [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
                missing+=("$package")
        done < <(awk -v kind="$kind" '!/^#/ && $2 == kind { print $1 }' scripts/packages.txt)
    done
    [ ${#missing[@]} -gt 0 ] || return 0

    echo "Installing: ${missing[*]}" >&2
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "Neither root nor sudo: please install these packages first." >&2
            return 1
        }
        as_root=(sudo)
    fi
    # Mirrors fail now and then; a second attempt is worth its few seconds.
    apt_install "${missing[@]}" || { sleep 5; apt_install "${missing[@]}"; }
}

# Progress belongs to standard error: the standard output is the caller's.
apt_install() {
    "${as_root[@]}" apt-get update -qq >&2 &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends "$@" >&2
}
