# Sourced by the scripts that build Windows libraries from Debian's own source packages.
#
# debian_source_begin [SUITE...]: adds deb-src entries for the machine's own suites and for each
#   extra SUITE named (of the machine's own Debian archive, with its Signed-By line), pins the
#   extra suites so that no binary package can ever come from them, and updates apt's lists.
# debian_source_get PACKAGE VERSION DEST: unpacks the source package of exactly that version
#   (Debian's patches applied) into DEST.
# debian_source_newest PACKAGE UPSTREAM SUITE: prints the newest Debian version of the source
#   package with that upstream version in that suite (empty when there is none).
# debian_source_end: removes the entries and the pin again and updates apt's lists.
# debian_source PACKAGE VERSION DEST: the four for one package of the machine's own suites.
debian_source_list=/etc/apt/sources.list.d/tesselex-source.sources
debian_source_pin=/etc/apt/preferences.d/tesselex-source

debian_source_sudo() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

debian_source_begin() {
    local machine=/etc/apt/sources.list.d/debian.sources
    {
        sed -n 's/^Types: deb$/Types: deb-src/; /^Types:\|^URIs:\|^Suites:\|^Components:\|^Signed-By:\|^$/p' \
            "$machine"
        # Another suite of the same archive: the first entry's address, components and key.
        local suite
        for suite in "$@"; do
            printf '\nTypes: deb-src\n'
            sed -n '/^URIs:\|^Components:\|^Signed-By:/p; /^$/q' "$machine" | sed '1a Suites: '"$suite"
        done
    } | debian_source_sudo tee "$debian_source_list" >/dev/null
    if [ $# -gt 0 ]; then
        # Source packages only: nothing is installed from these suites.
        local suite
        for suite in "$@"; do
            printf 'Package: *\nPin: release n=%s\nPin-Priority: -1\n\n' "$suite"
        done | debian_source_sudo tee "$debian_source_pin" >/dev/null
    fi
    debian_source_sudo apt-get update -qq >&2
}

debian_source_get() {
    local package=$1 version=$2 dest=$3
    (cd "$dest" && apt-get source -qq "$package=$version" >&2)
}

debian_source_newest() {
    local package=$1 upstream=$2 suite=$3
    apt-cache madison "$package" | awk -F'|' -v suite=" $suite/" -v up="$upstream" '
        { gsub(/ /, "", $2) } $3 ~ / Sources$/ && index($3, suite) && index($2, up "-") == 1 {
            print $2 }' | sort -V | tail -n 1
}

debian_source_end() {
    debian_source_sudo rm -f "$debian_source_list" "$debian_source_pin"
    debian_source_sudo apt-get update -qq >&2 || true
}

debian_source() {
    local status=0
    debian_source_begin && debian_source_get "$@" || status=$?
    debian_source_end
    return $status
}
