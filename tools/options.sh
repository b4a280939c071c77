# Checks a print option against a printer description and the table of job options, docs/options/options.tsv. To be
# sourced.

# The choices that a printer description has for a keyword, inside an option group or outside of it.
ppd_choices() { # ppd keyword
    sed -n "s|^\*$2 \([^/:]*\)[/:].*|\1|p" "$1"
}

is_number() { [[ $1 =~ ^[+-]?([0-9]+(\.[0-9]*)?|\.[0-9]+)$ ]]; }

# What the value of a job option may be: nothing when the table does not have the option. "@" is the printer's own option.
job_option_patterns() { # option
    awk -F'\t' -v name="$1" '$1 == "job" && $2 == name { sub(/^@$/, "@" name, $5); print $5; exit }' \
        "$kRoot/docs/options/options.tsv"
}

matches_pattern() { # ppd value pattern
    case $3 in
        '#') is_number "$2" ;;
        '+') [[ $2 =~ ^[1-9][0-9]*$ ]] ;;
        @*) has_choice "$1" "${3#@}" "$2" ;;
        *) [[ ${2,,} == ${3,,} ]] ;;
    esac
}

has_choice() { # ppd keyword value
    ppd_choices "$1" "$2" | grep -Fixq -e "$3"
}

matches_any_pattern() { # ppd value pattern...
    local ppd=$1 value=$2 pattern
    for pattern in "${@:3}"; do
        if matches_pattern "$ppd" "$value" "$pattern"; then
            return 0
        fi
    done
    return 1
}

is_job_option_value() { # ppd option value
    local patterns part
    read -ra patterns < <(job_option_patterns "$2") || return 1
    if [[ $2 != media ]]; then
        matches_any_pattern "$1" "$3" "${patterns[@]}"
        return
    fi
    while IFS= read -r part; do
        matches_any_pattern "$1" "$part" "${patterns[@]}" || return 1
    done < <(tr ',' '\n' <<<"$3")
}

is_custom_value() { # ppd option value
    [[ $3 == Custom.[0-9]*x[0-9]* ]] && grep -q "^\*Custom$2 True" "$1"
}

# The patterns in words.
describe_patterns() { # ppd pattern...
    local pattern
    for pattern in "${@:2}"; do
        case $pattern in
            '#') echo 'a number' ;;
            '+') echo 'a whole number from 1' ;;
            @*) ppd_choices "$1" "${pattern#@}" ;;
            *) echo "$pattern" ;;
        esac
    done
}

describe_values() { # ppd option
    local patterns
    read -ra patterns < <(job_option_patterns "$2") || true
    { ppd_choices "$1" "$2" && describe_patterns "$1" ${patterns[@]+"${patterns[@]}"}; } | sed 's/$/,/' | tr '\n' ' ' | sed 's/, $//'
}

# Ends the program with one line when the printer does not know the option or has no such choice.
check_option() { # ppd option value
    [[ $2 =~ ^[A-Za-z][A-Za-z0-9._-]*$ ]] || fail "not an option: '$2'"
    has_choice "$@" || is_custom_value "$@" || is_job_option_value "$@" && return
    [[ $(describe_values "$1" "$2") ]] || fail "unknown option '$2' for printer '$(basename "$1" .ppd)'"
    fail "option '$2' cannot be '$3'; it can be: $(describe_values "$1" "$2")"
}
