# Sourced by the scripts that build Windows libraries from Debian's own source packages.
# debian_source PACKAGE VERSION DEST: unpacks the source package of exactly that version (Debian's
# patches applied) into DEST, through a deb-src entry added for the download and removed again.
debian_source() {
    local package=$1 version=$2 dest=$3
    local sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    local list=/etc/apt/sources.list.d/tesselex-source.sources
    sed -n 's/^Types: deb$/Types: deb-src/; /^Types:\|^URIs:\|^Suites:\|^Components:\|^Signed-By:\|^$/p' \
        /etc/apt/sources.list.d/debian.sources | $sudo tee "$list" >/dev/null
    local status=0
    $sudo apt-get update -qq >&2 && (cd "$dest" && apt-get source -qq "$package=$version" >&2) ||
        status=$?
    $sudo rm -f "$list"
    $sudo apt-get update -qq >&2 || true
    return $status
}
