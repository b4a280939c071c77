# Every choice of the watermark. To be sourced by tools/gallery.

readonly kMarksPage=$kRoot/docs/gallery-watermarks.md
readonly kMarksPictures=$kRoot/docs/pictures/watermarks

# Lines of text, and a box that covers where the left half of a mark stands.
readonly kContent='
clippath pathbbox /top exch def /right exch def pop pop newpath
0.80 0.90 0.95 setrgbcolor right 0.20 mul top 0.38 mul right 0.30 mul top 0.24 mul rectfill
0.75 setgray 40 18 top 60 sub { 40 exch right 80 sub 3 rectfill } for
0.3 setgray 40 top 45 sub right 2 div 8 rectfill'

print_marked_job() { # width height turn content
    cat <<END
%!PS-Adobe-3.0
%%Pages: 1
%%EndComments
%%BeginSetup
<</PageSize [$1 $2]>> setpagedevice
%%EndSetup
%%Page: 1 1
%%BeginPageSetup
$3
%%EndPageSetup
$4
showpage
%%Trailer
%%EOF
END
}

# Prints a page with a mark; writes NAME.png.
draw_mark() { # name width height turn content options
    print_marked_job "$2" "$3" "$4" "$5" >"$scratch/job.ps"
    env -u PRINTER PPD="$kPPDs/office.ppd" CONTENT_TYPE=application/pdf "$kFilter" 1 user gallery 1 "VXwmrSwitch=Watermark $6" \
        "$scratch/job.ps" >"$scratch/marked.ps" 2>"$scratch/log"
    gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=png16m -dTextAlphaBits=4 -dGraphicsAlphaBits=4 -r48 \
        -o "$kMarksPictures/$1.png" "$scratch/marked.ps" >&2
}

# One row of pictures, each with its options below it.
begin_table() { # columns
    printf '\n|%s\n|%s\n' "$(printf ' |%.0s' $(seq "$1"))" "$(printf -- '---|%.0s' $(seq "$1"))"
}

show_row() { # names and captions, in turn
    local images='|' captions='|'
    while (($#)); do
        images+=" ![${2//\`/}](pictures/watermarks/$1.png) |"
        captions+=" $2 |"
        shift 2
    done
    printf '%s\n%s\n' "$images" "$captions"
}

# A row of A5 pages, one a choice of an option.
row_of_choices() { # option options choice...
    local option=$1 options=$2 choice row=()
    shift 2
    for choice in "$@"; do
        draw_mark "$option-$choice" 420 595 "" "$kContent" "VXwmrFontSize=96 $options $option=$choice"
        row+=("$option-$choice" "\`$choice\`")
    done
    show_row "${row[@]}"
}

row_of_pages() { # name width height turn options caption, ...
    local row=()
    while (($#)); do
        draw_mark "$1" "$2" "$3" "$4" "$kContent" "VXwmrSwitch=Overlay VXwmrTextStyle=Fill VXwmrFontSize=96 $5"
        row+=("$1" "$6")
        shift 6
    done
    show_row "${row[@]}"
}

row_of_texts() { # name text, ...
    local row=()
    while (($#)); do
        draw_mark "text-${1// /-}" 300 110 "" "" "VXwmrTextStyle=Fill VXwmrTextAngle=Deg0 VXwmrFontSize=48 VXwmCodedTextMessage=\"$2\""
        row+=("text-${1// /-}" "$1")
        shift 2
    done
    show_row "${row[@]}"
}

print_marks_gallery() {
    cat <<'END'
# Watermarks on paper

Drawn by Ghostscript from what the filter makes of one page; `tools/gallery` draws all of it again. The options are told
in [options/watermarks.md](options/watermarks.md).

## Mode (`VXwmrSwitch`)
END
    begin_table 2
    row_of_choices VXwmrSwitch VXwmrTextStyle=Fill Watermark Overlay
    printf '\n## Style (`VXwmrTextStyle`)\n'
    begin_table 5
    row_of_choices VXwmrTextStyle 'VXwmrTextColor=Blue VXwmrBrightness=Darkest VXwmrSwitch=Overlay' Thin Medium Thick Halo Fill
    printf '\n## Colour (`VXwmrTextColor`)\n'
    begin_table 4
    row_of_choices VXwmrTextColor VXwmrTextStyle=Fill Black Red Orange Yellow
    row_of_choices VXwmrTextColor VXwmrTextStyle=Fill Green Blue Purple
    printf '\n## Intensity (`VXwmrBrightness`)\n'
    begin_table 5
    row_of_choices VXwmrBrightness VXwmrTextStyle=Fill Darkest Darker Dark MediumDark Normal
    row_of_choices VXwmrBrightness VXwmrTextStyle=Fill MediumLight Light Lighter Lightest
    printf '\n## Angle and page\n'
    begin_table 4
    row_of_pages \
        angle-0 420 595 "" VXwmrTextAngle=Deg0 '`VXwmrTextAngle=Deg0`' \
        angle-90 420 595 "" VXwmrTextAngle=Deg90 '`Deg90`' \
        angle-minus-45 420 595 "" VXwmrTextAngle=DegN45 '`DegN45`' \
        turned 420 595 '180 rotate -420 -595 translate' '' 'a page turned upside down'
    row_of_pages \
        letter 612 792 '' '' 'Letter' \
        A4 595 842 '' '' 'A4' \
        A3 842 1191 '' '' 'A3' \
        landscape 420 595 '90 rotate 0 -420 translate' orientation-requested=4 'a landscape page on an upright sheet'
    printf '\n## Scripts\n'
    begin_table 3
    row_of_texts Latin 'Draft' 'Latin with accents' 'Größe Éçñ' Greek 'Πρόχειρο'
    row_of_texts Cyrillic 'Черновик' 'Hebrew' 'טיוטה' Arabic 'مسودة'
    row_of_texts Chinese '草稿' Japanese 'ドラフト' Korean '초안'
    row_of_texts Devanagari 'मसौदा' 'Combining marks' 'x̃ é ñ' 'A character that no font has' 'a🫨b'
}

