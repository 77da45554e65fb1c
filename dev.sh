#!/usr/bin/env bash
# Set-up, build and run for a fresh Debian 12 machine.
#   ./dev.sh run    install what is missing, build, run the main job: a simulated 24 h card
#                   taken through import, processing and results to a PDF report
#   ./dev.sh gui    install what is missing, build, start the workstation
#   ./dev.sh test   install what is missing, build, run every test
#   ./dev.sh build  install what is missing and build only
#   ./dev.sh bench  build and run the benchmarks
#   ./dev.sh gallery [OUTDIR]  build, then write a PNG of every view of the workstation
#                   (default OUTDIR: build/gallery) from a simulated one-hour study
#   ./dev.sh fuzz [SECONDS]  build the readers' fuzz targets with clang (libFuzzer, ASan, UBSan)
#                   in build-fuzz and run each for SECONDS (default 60); crashing inputs are
#                   kept in build-fuzz/findings/<target>/
set -euo pipefail

here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
build="${HOLTER_BUILD_DIR:-$here/build}"
jobs="$(nproc 2>/dev/null || echo 2)"

packages=(
    build-essential cmake ninja-build pkg-config
    qtbase5-dev libqt5sql5-sqlite qtscript5-dev qttools5-dev qttools5-dev-tools
    zlib1g-dev libminizip-dev libgtest-dev libedf-dev biosig-tools
    python3-ppmd
    fontconfig fonts-liberation fonts-dejavu-core poppler-utils
)

# Only the fuzz command needs these; the other commands (CI's included) never install them.
fuzz_packages=(clang libclang-rt-14-dev)

# install_missing [PACKAGE...]: the given packages, or the common list.
install_missing() {
    local missing=()
    local wanted=("$@")
    [ ${#wanted[@]} -eq 0 ] && wanted=("${packages[@]}")
    for p in "${wanted[@]}"; do
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "dev.sh: installing ${missing[*]}" >&2
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}

configure_and_build() {
    cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >&2
    cmake --build "$build" -j "$jobs"
}

cmd="${1:-run}"
shift || true
case "$cmd" in
build)
    install_missing
    configure_and_build
    ;;
test)
    install_missing
    configure_and_build
    # No test may reach a display or the user's data: offscreen platform, private data home.
    export QT_QPA_PLATFORM=offscreen
    ctest --test-dir "$build" --output-on-failure -j "$jobs" --timeout 900 "$@"
    ;;
bench)
    install_missing
    configure_and_build
    "$here/bench/run" "$@"
    ;;
run)
    install_missing
    configure_and_build
    cli="$build/cli/holter-cli"
    demo="${HOLTER_DEMO_DIR:-$build/demo}"
    hours="${HOLTER_DEMO_HOURS:-24}"
    rm -rf "$demo"
    mkdir -p "$demo"
    echo "dev.sh: simulating a ${hours} h recorder card in $demo/card" >&2
    "$cli" simulate "$demo/card" --hours "$hours" --seed 2026 >&2
    echo "dev.sh: import, processing, results and report (store: $demo/store)" >&2
    "$cli" --data-dir "$demo/store" analyze "$demo/card" --last-name Demo --first-name Holter \
        --date 202611220900 --annotations "$demo/beats.atr" --json "$demo/results.json" \
        --pdf "$demo/report.pdf"
    echo "dev.sh: detected beats against the simulator's truth:" >&2
    "$cli" evaluate --fs 500 "$demo/card/truth.atr" "$demo/beats.atr" | sed -n '1,5p'
    echo "dev.sh: report: $demo/report.pdf   results: $demo/results.json" >&2
    ;;
gallery)
    install_missing
    configure_and_build
    out="${1:-$build/gallery}"
    QT_QPA_PLATFORM=offscreen "$build/tools/gallery/holter-gallery" "$out"
    ;;
fuzz)
    install_missing
    install_missing "${fuzz_packages[@]}"
    seconds="${1:-60}"
    fuzzbuild="${HOLTER_FUZZ_BUILD_DIR:-$here/build-fuzz}"
    cmake -S "$here" -B "$fuzzbuild" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
        -DCMAKE_CXX_COMPILER=clang++ -DHOLTER_FUZZ=ON -DHOLTER_BUILD_TESTS=OFF \
        -DHOLTER_BUILD_BENCH=OFF >&2
    cmake --build "$fuzzbuild" -j "$jobs" --target holter_fuzz
    "$here/fuzz/run" "$fuzzbuild" "$seconds"
    ;;
gui)
    install_missing
    configure_and_build
    if [ -z "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
        echo "dev.sh: no display found; starting the workstation on the offscreen platform" >&2
        export QT_QPA_PLATFORM=offscreen
    fi
    exec "$build/shell/holter-ecg" "$@"
    ;;
*)
    echo "usage: ./dev.sh run|gui|test|build|bench|gallery [OUTDIR]|fuzz [SECONDS]" >&2
    exit 2
    ;;
esac
