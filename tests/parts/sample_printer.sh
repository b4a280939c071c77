#!/bin/bash
# What the programs in front of the filter do with a sample printer description: ours must come last, find the feature
# blocks it works on, and find the pages as the document has them.
set -euo pipefail

source "$(dirname "$(readlink -f "$0")")/../../tools/setup.sh"
source "$kRoot/tools/chain.sh"

readonly kPPD=$1
readonly kScratch=$(mktemp -d)
trap 'rm -rf "$kScratch"' EXIT

chain_of() { # file
    run_cupsfilter "$kScratch" "$kPPD" --list-filters "$1" 2>/dev/null | paste -sd ' '
}

# The job as it would reach the filter; dates and the options themselves, which name the run, left out.
job_of() { # file arguments...
    run_cupsfilter "$kScratch" "$kPPD" "${@:2}" -- "$1" 2>/dev/null | grep -av -e 'Date' -e '%%Title' -e '^%%For' -e '/ID' ||
        fail "no job from $*"
}

expect() { # what wanted found
    [[ $2 == "$3" ]] || fail "$1: expected '$2', found '$3'"
}

expect_block() { # job keyword
    grep -aq "^%%BeginFeature: \*$2 " <<<"$1" || fail "no feature block for $2"
}

make_chain "$kScratch"
printf '#!/bin/sh\nexec cat ${6+"$6"}\n' >"$kScratch/filter/vxpostprocessing"
printf 'A line of text.\n' >"$kScratch/text.txt"
gs -q -dSAFER -sDEVICE=pdfwrite -o "$kScratch/sample.pdf" "$kRoot/tools/sample.ps"

expect "chain of PostScript" "pstops vxpostprocessing" "$(chain_of "$kRoot/tools/sample.ps")"
expect "chain of PDF" "pdftopdf pdftops vxpostprocessing" "$(chain_of "$kScratch/sample.pdf")"
expect "chain of text" "texttopdf pdftopdf pdftops vxpostprocessing" "$(chain_of "$kScratch/text.txt")"

plain=$(job_of "$kRoot/tools/sample.ps")
for keyword in PageSize InputSlot $(sed -n 's/^\*OpenUI \*\(VX[^\/:]*\).*/\1/p' "$kPPD"); do
    expect_block "$plain" "$keyword"
done

for document in "$kRoot/tools/sample.ps" "$kScratch/sample.pdf"; do
    expect "mirrored in front of the filter: $document" "$(job_of "$document" | cksum)" \
        "$(job_of "$document" -o MirrorPrint=True | cksum)"
done
