# Pieces that ./demo and ./check share: packages, builds, progress. To be sourced; the caller has set -euo pipefail.

readonly kRoot=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly kLogFolder=$kRoot/build/logs

readonly kPackages=(
    cmake ninja-build g++ pkg-config
    libcups2-dev zlib1g-dev libpango1.0-dev libharfbuzz-dev libfontconfig-dev libplist-dev nlohmann-json3-dev uuid-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    cups cups-client cups-ppdc cups-filters ghostscript poppler-utils psutils qpdf
    fonts-dejavu-core fonts-noto-core fonts-noto-cjk python3-pytest
)
readonly kCheckPackages=(clang clang-format clang-tidy libclang-rt-14-dev valgrind lintian locales pycodestyle pyflakes3)

fail() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

as_root() {
    if [[ $(id -u) == 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "run as root once, or install sudo: packages are missing"
    fi
}

# Those of the named packages that are not installed.
missing_packages() {
    comm -23 <(printf '%s\n' "$@" | sort -u) \
        <(dpkg-query -W -f '${db:Status-Abbrev} ${Package}\n' "$@" 2>/dev/null | sed -n 's/^ii  *//p' | sort -u)
}

install_packages() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get update -q &&
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "$@"
}

ensure_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    if ((${#missing[@]})); then
        step "Installing ${#missing[@]} packages" install_packages "${missing[@]}"
    fi
}

# Says that a step goes on: on a terminal every second, elsewhere every half minute.
show_progress() { # title log seconds
    if [[ -t 1 ]]; then
        printf '\r\033[K%s ... %d s  %.60s' "$1" "$3" "$(tail -n 1 "$2" | tr -d '\r')"
    elif (($3 % 30 == 0)); then
        printf '%s ... %d s\n' "$1" "$3"
    fi
}

# Runs a command with its output in a log; says what it does only when it takes longer than a moment. Its status is left in
# watch_status: where a failing function is asked for, the shell would run it on behind a command that failed.
watch() { # title log command...
    local title=$1 log=$2 seconds=0 ticks=0
    "${@:3}" >"$log" 2>&1 </dev/null &
    local child=$!
    while kill -0 "$child" 2>/dev/null; do
        sleep 0.1
        if ((++ticks % 10 == 0)); then
            show_progress "$title" "$log" $((++seconds))
        fi
    done
    watch_status=0
    wait "$child" || watch_status=$?
    if [[ -t 1 ]] && ((seconds)); then
        printf '\r\033[K'
    fi
    if ((seconds && !watch_status)); then
        printf '%s: %d s\n' "$title" "$seconds"
    fi
}

# The same for what fails by nobody's fault: the end of the log tells what happened.
step() { # title command...
    local log=$kLogFolder/${1//[^A-Za-z0-9]/-}.log
    mkdir -p "$kLogFolder"
    watch "$1" "$log" "${@:2}"
    if ((watch_status)); then
        tail -n 40 "$log" >&2
        fail "$1 failed; the whole log is $log"
    fi
}

# Without targets all of it.
build() { # preset targets...
    if [[ ! -f $kRoot/build/$1/build.ninja ]]; then
        step "Configuring $1" cmake -S "$kRoot" --preset "$1"
    fi
    step "Building $1" cmake --build "$kRoot/build/$1" ${2:+--target "${@:2}"}
}
