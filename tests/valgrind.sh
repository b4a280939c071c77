#!/bin/bash
# Runs the filter in valgrind, which also sees what no sanitizer looks at: the use of memory that nobody wrote, in the
# libraries too. Usage: valgrind.sh FILTER PPDS JOB
set -euo pipefail

readonly kSkipped=77

command -v valgrind >/dev/null || {
    echo "skipped: valgrind is not installed"
    exit "$kSkipped"
}
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# The text layout is made in a module and freed by the program: both have their own name for the same operator.
expect_clean() { # printer content-type options
    PPD=$ppds/$1.ppd CONTENT_TYPE=$2 DEVICE_URI=file:/dev/null valgrind -q --error-exitcode=9 --show-mismatched-frees=no --log-file="$log" \
        "$filter" 1 user title 2 "$3" "$job" >/dev/null 2>&1 || {
        echo "printer $1, $2, options \"$3\""
        cat "$log"
        exit 1
    }
}

filter=$1 ppds=$2 job=$3
expect_clean office application/pdf ''
expect_clean office application/pdf 'MirrorPrint=True VXwmrSwitch=Overlay VXImageShiftFront=True VXAccountID=True
    VXJobRetentionOption=VXJobRetentionPrivate VXPinToPrintExtended=1 orientation-requested=4'
expect_clean office application/pdf 'VXBookletFilter=True VXBookletPaperSize=A4 AP_FIRSTPAGE_InputSlot=x InputSlot=y'
expect_clean office application/postscript 'VXFaceOrientation=FaceUp sides=two-sided-long-edge'
expect_clean manual application/pdf 'VXManualDuplexSupport=True VXManualDuplexSwitch=True VXManualDuplexPrintGuide=True'
expect_clean veldra application/pdf 'media=Custom.300x400 collate=true'
