# shellcheck shell=sh
# tavo.sh: functions for scripts that draw a page with tavo, in any POSIX shell; see tavo.sh(7).
# They need what busybox has. If something is wrong they print one line and return 1.

_tavo_fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    return 1
}

# _tavo_number NAME VALUE [signed]: VALUE without leading zeros, which $(( )) takes for octal.
_tavo_number() {
    [ -n "${tavo_width-}" ] || _tavo_fail "tavo_begin comes first" || return 1
    case ${3-}$2 in -*) _tavo_fail "$1 is negative" || return 1 ;; esac
    _tavo_digits=${2#-}
    case $_tavo_digits in
    '' | *[!0-9]* | ??????????*) _tavo_fail "$1 is not a whole number" || return 1 ;;
    esac
    _tavo_digits=${_tavo_digits#"${_tavo_digits%%[!0]*}"}
    case $2 in -*[1-9]*) _tavo_digits=-$_tavo_digits ;; esac
    printf %s "${_tavo_digits:-0}"
}

tavo_draw() {
    _tavo_barcode=0 _tavo_status=0
    for _tavo_word; do
        case $_tavo_word in -r* | -nr*) _tavo_barcode=1 ;; --) break ;; esac
    done
    _tavo_said=$(tavo "$@" 2>&1) || _tavo_status=$?
    [ "$_tavo_status$_tavo_said" != 0 ] || return 0 # most calls say nothing
    # The status is 0 even when the driver refuses. What is said, but for these lines, is an error.
    _tavo_said=$(printf '%s\n' "$_tavo_said" | LC_ALL=C awk -v barcode=$_tavo_barcode '
        /^update_to_display: / || barcode && / pixel_in_range> / { next }
        gsub(/retrying\.\. -1/, "") >= 5 { $0 = "the driver refused the update" }
        NF && !lines++ { print }') || return 1
    [ "$_tavo_status" = 0 ] || : "${_tavo_said:=tavo ended with status $_tavo_status}"
    [ -z "$_tavo_said" ] || _tavo_fail "$_tavo_said"
}

tavo_begin() {
    case $#${1-} in
    0) set -- -n -c ;;
    1-k) set -- -n ;;
    *) _tavo_fail "usage: tavo_begin [-k]" || return 1 ;;
    esac
    # A call that is ended in the middle leaves the driver on hold; this one releases it.
    trap 'tavo -n >/dev/null 2>&1 || :' EXIT
    trap 'exit 129' HUP && trap 'exit 130' INT && trap 'exit 143' TERM
    tavo_draw "$@" || return 1
    IFS=' ' read -r tavo_width tavo_height tavo_depth <<END
$(tavo -i | awk '$1 == "xres:" { size = $2 " " $4 } $1 == "bits_per_pixel:" { print size, $2 }')
END
    [ -n "$tavo_depth" ] || _tavo_fail "the driver does not tell the panel's size" || return 1
    tavo_columns=$((tavo_width / 16)) tavo_rows=$((tavo_height / 24))
}

# In bytes, since not every sed knows UTF-8. What is left of it then begins with a byte from \300 on.
# shellcheck disable=SC1112 # quotes of all kinds are what it is for
tavo_plain() {
    LC_ALL=C sed -E -e "s/$_tavo_nothing//g; s/$_tavo_blanks/ /g" -e '
        s/À|Á|Â|Ã|Å|Ā|Ă|Ą/A/g; s/à|á|â|ã|å|ā|ă|ą/a/g; s/Ä|Æ/Ae/g; s/ä|æ/ae/g; s/Ç|Ć|Ĉ|Ċ|Č/C/g
        s/ç|ć|ĉ|ċ|č/c/g; s/Ď|Đ|Ð/D/g; s/ď|đ|ð/d/g; s/È|É|Ê|Ë|Ē|Ĕ|Ė|Ę|Ě/E/g
        s/è|é|ê|ë|ē|ĕ|ė|ę|ě/e/g; s/Ĝ|Ğ|Ġ|Ģ/G/g; s/ĝ|ğ|ġ|ģ/g/g; s/Ĥ|Ħ/H/g; s/ĥ|ħ/h/g
        s/Ì|Í|Î|Ï|Ĩ|Ī|Ĭ|Į|İ/I/g; s/ì|í|î|ï|ĩ|ī|ĭ|į|ı/i/g; s/Ĵ/J/g; s/ĵ/j/g; s/Ķ/K/g; s/ķ/k/g
        s/Ĺ|Ļ|Ľ|Ŀ|Ł/L/g; s/ĺ|ļ|ľ|ŀ|ł/l/g; s/Ñ|Ń|Ņ|Ň|Ŋ/N/g; s/ñ|ń|ņ|ň|ŋ/n/g; s/Ò|Ó|Ô|Õ|Ō|Ŏ|Ő|Ơ/O/g
        s/ò|ó|ô|õ|ō|ŏ|ő|ơ/o/g; s/Ö|Ø|Œ/Oe/g; s/ö|ø|œ/oe/g; s/Ŕ|Ŗ|Ř/R/g; s/ŕ|ŗ|ř/r/g
        s/Ś|Ŝ|Ş|Š|Ș/S/g; s/ś|ŝ|ş|š|ș/s/g; s/ß/ss/g; s/Ţ|Ť|Ŧ|Ț/T/g; s/ţ|ť|ŧ|ț/t/g; s/Þ/Th/g
        s/þ/th/g; s/Ù|Ú|Û|Ũ|Ū|Ŭ|Ů|Ű|Ų|Ư/U/g; s/ù|ú|û|ũ|ū|ŭ|ů|ű|ų|ư/u/g; s/Ü/Ue/g; s/ü/ue/g
        s/Ŵ/W/g; s/ŵ/w/g; s/Ý|Ŷ|Ÿ/Y/g; s/ý|ÿ|ŷ/y/g; s/Ź|Ż|Ž/Z/g; s/ź|ż|ž/z/g; s/‐|‑|‒|–|—|―|−/-/g
        s/‘|’|‚|“|”|„|«|»|‹|›|′|″|´|`/"/g; s/…/.../g; s/•|·/*/g; s/°/deg/g; s/€/EUR/g; s/£/GBP/g
        s/\$/USD/g; s/ ?%/ pct/g; s/×/x/g; s/÷|\\/\//g; s/±/+-/g; s/→/->/g; s/←/<-/g; s/≤/<=/g
        s/≥/>=/g; s/½/1\/2/g; s/¼/1\/4/g; s/¾/3\/4/g; s/²/2/g; s/³/3/g; s/µ/u/g; s/#/No./g
        s/;/,/g; s/!/./g; s/\{/(/g; s/}/)/g' -e "s/'/\"/g" | LC_ALL=C tr -d '\200-\277\314\315' |
        LC_ALL=C tr -c 'A-Za-z0-9\n ":._*~/,()@&+?<>=|[]-' '?'
}
_tavo_blanks=$(printf '\302\240|\342\200\211|\342\200\257|\t|\v|\f|\r')
_tavo_nothing=$(printf '\302\255|\342\200\213|\357\270\217|\357\273\277|\r$') # no width

tavo_text() {
    [ $# -ge 3 ] || _tavo_fail "usage: tavo_text COLUMN ROW TEXT [-h]" || return 1
    _tavo_x=$(_tavo_number COLUMN "$1") && _tavo_y=$(_tavo_number ROW "$2") || return 1
    _tavo_said=$(printf '%s' "$3" | tavo_plain) || return 1
    shift 3
    for _tavo_word; do
        case $_tavo_word in -[fhv]) ;; *) _tavo_fail "no such option of a text" || return 1 ;; esac
    done
    [ "$_tavo_x" -lt "$tavo_columns" ] && [ "$_tavo_y" -lt "$tavo_rows" ] || return 0
    _tavo_said=$(printf "%.$((tavo_columns - _tavo_x))s" "$_tavo_said")
    # Operands are found by counting letters: the second n makes up for the word --.
    tavo_draw -nn "$@" -- "$_tavo_x" "$_tavo_y" "$_tavo_said"
}

tavo_box() {
    case ${5-} in *[!0-9a-fA-F]* | ???* | '') _tavo_fail "GRAY is not 0 to ff" || return 1 ;; esac
    _tavo_x=$(_tavo_number X "$1" signed) && _tavo_y=$(_tavo_number Y "$2" signed) &&
        _tavo_w=$(_tavo_number WIDTH "$3") && _tavo_h=$(_tavo_number HEIGHT "$4") || return 1
    # The tool moves an origin that is off the screen to 0, and takes a side of 0 for all the rest.
    [ "$_tavo_x" -ge 0 ] || _tavo_w=$((_tavo_w + _tavo_x)) _tavo_x=0
    [ "$_tavo_y" -ge 0 ] || _tavo_h=$((_tavo_h + _tavo_y)) _tavo_y=0
    [ "$_tavo_w" -gt 0 ] && [ "$_tavo_x" -lt "$tavo_width" ] || return 0
    [ "$_tavo_h" -gt 0 ] && [ "$_tavo_y" -lt "$tavo_height" ] || return 0
    tavo_draw -n -x "$_tavo_x" -y "$_tavo_y" -d "l=$5,w=$_tavo_w,h=$_tavo_h"
}

tavo_picture() {
    _tavo_x=$(_tavo_number X "${2-0}") && _tavo_y=$(_tavo_number Y "${3-0}") || return 1
    if [ "${1-}" = - ]; then # through a pipe, since a socket cannot be opened by its name
        cat 2>/dev/null | tavo_draw -n -x "$_tavo_x" -y "$_tavo_y" -g /dev/stdin
    else
        tavo_draw -n -x "$_tavo_x" -y "$_tavo_y" -g "${1-}"
    fi
}

tavo_show() {
    case $#,${1-},${2-},${3-} in
    0,,, | 1,-f,, | 2,-w,*, | 3,-f,-w,* | 3,-w,*,-f) tavo_draw "$@" -s '' ;;
    *) _tavo_fail "usage: tavo_show [-f] [-w WAVEFORM]" ;;
    esac
}
