# Runs CUPS's conversion chain with the filter as it was built, and draws the result. To be sourced after setup.sh.

readonly kFilters=/usr/lib/cups/filter

# The resources of the built program in one folder, as they lie when installed.
link_resources() { # folder
    mkdir -p "$1"
    ln -s "$kRoot"/resources/* "$1/"
    ln -sfn "$kRoot/build/release/guides" "$1/guides"
}

# A folder of filter programs for cupsfilter(8), CUPS's own and ours, and of resources as they lie when installed. The
# chain's environment is made anew by cupsfilter, so what the filter needs beyond it stands in the script that starts it.
make_chain() { # folder
    mkdir -p "$1/filter"
    link_resources "$1/resources"
    ln -s "$kFilters"/* "$1/filter/"
    rm -f "$1/filter/vxpostprocessing"
    {
        printf '#!/bin/bash\n'
        printf 'export DEVICE_URI=%q VX_RESOURCES=%q\n' "${DEVICE_URI:-file:/dev/null}" "$1/resources"
        export -p | grep -E '^declare -x (VX_|SOURCE_DATE_EPOCH=)' || true
        printf 'exec %q "$@"\n' "$kRoot/build/release/vxpostprocessing"
    } >"$1/filter/vxpostprocessing"
    chmod 755 "$1/filter/vxpostprocessing"
    printf 'ServerBin %s\n' "$1" >"$1/cups-files.conf"
}

run_cupsfilter() { # chain ppd arguments...
    PATH=$PATH:/usr/sbin cupsfilter -c "$1/cups-files.conf" -p "$2" -e -m printer/sample "${@:3}"
}

# The line of a chain's log that says why it failed: a filter's own words first, then what cupsfilter says of it.
failure_reason() { # log
    {
        sed -n '/(PID /d; s/^ERROR: *//p' "$1"
        sed -n '/(PID /s/^ERROR: *//p' "$1"
        sed -n '/permissions OK/d; s/^cupsfilter: *//p' "$1"
    } | awk 'NR == 1'
}

# Draws a job as the printer would, no page turned to be read better. The TBCP tag in front of a job is for the printer's
# port, not for its interpreter.
interpret() { # job gs-arguments...
    local job=$1
    shift
    LC_ALL=C sed $'1s/^\x01M//' "$job" | gs -q -dSAFER -dBATCH -dNOPAUSE -dAutoRotatePages=/None "$@" - >&2
}

page_count() { # pdf
    pdfinfo "$1" | awk '$1 == "Pages:" { print $2 }'
}

# The first sixteen pages side by side, each in a frame.
draw_contact_sheet() { # pdf png
    local pages grid=1
    pages=$(page_count "$1")
    while ((grid < 4 && grid * grid < pages)); do
        ((++grid))
    done
    "$kFilters/pdftopdf" 1 demo sheet 1 "number-up=$((grid * grid)) page-border=single page-ranges=1-16" "$1" 2>/dev/null |
        gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -dTextAlphaBits=4 -dGraphicsAlphaBits=4 -r$((75 + 25 * grid)) \
            -o "$2" - >&2
}
