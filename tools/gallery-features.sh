# A picture, or a piece of the job, of each feature before and after the filter. To be sourced by tools/gallery.

readonly kFeaturesPage=$kRoot/docs/gallery.md
readonly kFeaturesPictures=$kRoot/docs/pictures/features

# A page says its number, and which way is up: a bar at its head, lines of text below it.
readonly kPageProlog='
/Helvetica-Bold findfont 400 scalefont setfont
/page {
    0.13 0.35 0.55 setrgbcolor
    60 752 475 40 rectfill
    10 string cvs dup stringwidth pop 2 div 297 exch sub 130 moveto show
    0.7 setgray
    500 32 720 { 60 exch 475 12 rectfill } for
    showpage
} bind def'

# A job of numbered A4 pages as CUPS converts it from PDF. Feature blocks stand in its setup, as pstops writes them.
print_numbered_job() { # pages 'feature choice'...
    local feature number
    printf '%%!PS-Adobe-3.0\n%%%%Pages: %d\n%%%%EndComments\n%%%%BeginProlog%s\n%%%%EndProlog\n' "$1" "$kPageProlog"
    printf '%%%%BeginSetup\n<</PageSize [595 842]>> setpagedevice\n'
    for feature in "${@:2}"; do
        printf '[{\n%%%%BeginFeature: *%s\n' "$feature"
        print_feature_code "${feature% *}" "${feature#* }"
        printf '%%%%EndFeature\n} stopped cleartomark\n'
    done
    printf '%%%%EndSetup\n'
    for ((number = 1; number <= $1; ++number)); do
        printf '%%%%Page: %d %d\n%%%%BeginPageSetup\n%%%%EndPageSetup\n%d page\n' "$number" "$number" "$number"
    done
    printf '%%%%Trailer\n%%%%EOF\n'
}

# The code that the printer description has for a choice.
print_feature_code() { # keyword choice
    awk -v start="*$1 $2" '
        index($0, start) == 1 { isCode = 1; sub(/^[^"]*"/, "") }
        isCode && sub(/".*/, "") { if ($0 != "") print; exit }
        isCode { print }' "$kPPDs/$printer.ppd"
}

# The printer without the statements of other features that print without being asked.
readonly kUnasked='DefaultVXJobAccounting|VXAccountingInfo|VXGrayBalanceAdjustment|VX(Cyan|Magenta|Yellow|Black)Brightness'
print_description() { # pattern of statements that stay
    grep -vE "^\*($kUnasked)(:| )" "$kPPDs/$printer.ppd"
    grep -E "^\*($kUnasked)(:| )" "$kPPDs/$printer.ppd" | grep -E "^\*($1)" || true
}

# Runs the filter on the job; the time and the name of the host are made such that all runs are alike.
run_filter() { # options pattern of statements
    print_description "${2:-none}" >"$scratch/printer.ppd"
    env -u PRINTER PPD="$scratch/printer.ppd" CONTENT_TYPE=application/pdf DEVICE_URI=file:/dev/null \
        SOURCE_DATE_EPOCH=1767225600 \
        "$kFilter" 1 guest "Quarterly report" 1 "$1" "$scratch/before.ps" 2>"$scratch/log" |
        LC_ALL=C sed -e "s/($(hostname -s))/(server)/" -e 's/\(SetDomain get \)(.*)/\1()/' -e /JobAcct3/d |
        tr -d '\004' >"$scratch/after.ps"
}

# The pages of a job side by side, each in a frame.
draw_pages() { # job name
    local page
    rm -f "$scratch"/page-*
    interpret "$1" -sDEVICE=pdfwrite -o "$scratch/pages.pdf"
    gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=ppmraw -dTextAlphaBits=4 -dGraphicsAlphaBits=4 -r14 \
        -o "$scratch/page-%03d.ppm" "$scratch/pages.pdf" >&2
    for page in "$scratch"/page-*.ppm; do
        pnmmargin -color rgb:80/80/80 1 "$page" | pnmmargin -white 5 >"$page.framed"
    done
    pnmcat -white -jtop -lr "$scratch"/page-*.framed | pnmquant 64 2>"$scratch/log" | pnmtopng -compression 9 \
        2>"$scratch/log" >"$kFeaturesPictures/$2.png"
}

# A feature with more than one example has its title once.
print_title() { # page options text
    if [[ $1 != "$titled" ]]; then
        printf '\n## [%s](options/%s.md)\n' "$(sed -n '1s/^## //p' "$kRoot/docs/options/$1.md")" "$1"
        titled=$1
    fi
    printf '\n%s\n' "$3"
    [[ -z $2 ]] || printf '\n`%s`\n' "${2//\`/}"
}

# What comes of a job of numbered pages: one picture of it as it came, one as it goes to the printer.
show_pages() { # page name options text pages features...
    print_title "$1" "$3" "$4"
    print_numbered_job "$5" "${@:6}" >"$scratch/before.ps"
    run_filter "$3"
    draw_pages "$scratch/before.ps" "$2-before"
    draw_pages "$scratch/after.ps" "$2-after"
    printf '\nBefore:\n\n![before](pictures/features/%s-before.png)\n' "$2"
    printf '\nAfter:\n\n![after](pictures/features/%s-after.png)\n' "$2"
}

# What changes in the text of a job.
show_text() { # page options text statements pages features...
    print_title "$1" "$2" "$3"
    print_numbered_job "${@:5}" >"$scratch/before.ps"
    run_filter "$2" "$4"
    printf '\n```diff\n'
    { diff -a -U1 "$scratch/before.ps" "$scratch/after.ps" || true; } |
        LC_ALL=C sed -e 1,3d -e 's/^@@.*@@.*/ .../' -e 's/\x01/^A/' -e 's/\xf6rg)$/<F6>rg)/'
    printf '```\n'
}

# The trays that the job asks for, page by page.
print_trays() {
    awk '/^%%Page: / { if (page) print page ": " tray; page = $2 }
        /^%%BeginFeature: \*InputSlot/ { if (page) tray = $3 }
        /^%%Trailer/ { print page ": " tray }' "$scratch/after.ps" |
        sed 's/^/page /' | paste -sd, | sed 's/,/, /g'
}

print_features_gallery() {
    local printer=office titled=
    cat <<'TEXT'
# What each feature does

Before and after: the pages of a job as it comes to the filter, and as the printer prints what it gets, drawn by
Ghostscript; where nothing changes on paper, the lines of the job that do. `tools/gallery` draws all of it again. Every choice
of a watermark has a [gallery of its own](gallery-watermarks.md), and so have the [guide pages](guides.md).
TEXT
    printer=wide
    show_pages page-order order '' 'Sheets that land face up are printed last page first.' 4
    printer=office
    show_pages page-order duplex-order 'VXFaceOrientation=FaceUp sides=two-sided-long-edge' \
        'Two-sided and face up: the sheets in reverse order, the last one with a blank back.' 5
    show_pages mirror-print mirror MirrorPrint=True 'Each page in a mirror.' 2
    show_pages image-shift shift 'VXImageShiftFront=True VXImageShiftFrontX=20 VXImageShiftFrontY=-25' \
        'The image 20 mm to the right and 25 mm down.' 2 'VXImageShiftFront True'
    show_pages booklet booklet 'VXBookletFilter=True VXBookletPaperSize=A4 media=A4' \
        'Eight pages on two sheets: fold them in the middle.' 8
    show_pages booklet booklet-cover 'VXBookletFilter=True VXBookletPaperSize=A4 media=A4 VXBookletBackCover=True' \
        'Six pages, the last one on the back cover.' 6
    printer=manual
    show_pages manual-duplex by-hand \
        'VXManualDuplexSupport=True VXManualDuplexSwitch=True VXManualDuplexPrintGuide=True media=A4' \
        'The guide and one side of each sheet; then, with the stack put back, the other sides. The guide is printed on its back at the end.' 4
    printer=office
    show_pages watermarks under 'VXwmrSwitch=Watermark VXwmCodedTextMessage=Secret VXwmrTextStyle=Fill VXwmrFontSize=pt160 VXwmrTextColor=Red' \
        'Under the content of the pages.' 2
    show_pages watermarks over 'VXwmrSwitch=Overlay VXwmrPages=FirstPage VXwmCodedTextMessage=Secret VXwmrTextStyle=Fill VXwmrFontSize=pt160 VXwmrTextColor=Red' \
        'Over the first page alone.' 2
    show_pages paper-feed feed 'AP_FIRSTPAGE_InputSlot=Tray2 InputSlot=Tray1 MirrorPrint=True' \
        'The first page from a tray of its own, in a job whose pages are redrawn: here mirrored.' 3 'InputSlot Tray1'
    printf '\nThe job asks for: %s.\n' "$(print_trays)"

    show_text smart-duplex sides=two-sided-long-edge 'The third page needs no back.' '' 3 'Duplex DuplexNoTumble'
    printer=wide
    show_text margin-layout 'media=A4.Fullbleed VXMarginsLayoutMode=Standard' \
        'Paper that is printed to its edges gets the mode that can.' '' 1 'VXMarginsLayoutMode Standard'
    show_text custom-page-size 'media=Custom.595x842 PPDVersion=1.0 Product=7300vq' \
        'The size as an old printer takes it.' '' 1 'PageSize 595 842'
    printer=office
    show_text orientation PMPageOrientation=Landscape 'What the printer adds by itself is turned with the page.' '' 1
    show_text custom-media-type 'VXCustomMediaTypeID=12 VXCustomMediaTypeName=Card' \
        'The kind of paper that the user defined, in place of the one the job asks for.' '' 1 'MediaType Plain'
    show_text gray-balance 'VXZone2Limit=60 VXZone1HueLevel1=-5' \
        'Ghostscript has no such controls; these are the calls.' VXGray 1
    show_text lightness-and-hue VXCyanBrightness=15 'A little more cyan.' 'VX(Cyan|Magenta|Yellow|Black)' 1
    show_text job-storage \
        'VXJobRetentionOption=VXJobRetentionPrivate VXPinToPrintExtended=4711 VXUserName=Set VXCustomUserName=J%C3%B6rg' \
        'Held for a PIN, under a name in both encodings.' '' 1 \
        'Collate False' 'VXUserName Set' 'VXJobRetentionOption VXJobRetentionPrivate'
    show_text accounting 'VXUUID=0a1b2c3d VXApplicationName=Editor VXDepartmentID=42 VXDepartmentAccessCode=9876' \
        'Who prints what, for an office printer.' VXAccountingInfo 1
    printer=veldra
    show_text accounting 'VXUUID=0a1b2c3d VXJobAccounting=True' 'The same for a print server.' 'VXAccountingInfo|DefaultVXJobAccounting' 1
    show_text web-preview VXHoldJob=True 'Held until its owner has seen it.' '' 1
    export VX_SYSTEM_VERSION=10.3.9
    show_text tbcp '' 'Two bytes for the printer’s port.' '' 1
    unset VX_SYSTEM_VERSION
    printf '\n## Without a picture\n\n'
    printf '[Device status](options/device-status.md) changes nothing in a job, and [jobs of an application’s own]'
    printf '(options/cleaning.md) look as before.\n'
}
