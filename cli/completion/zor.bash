# Completion of zor for bash. The program itself knows what can stand where.

_zor() {
    # The words as the program will see them: bash has taken them apart at characters such as "=" as well.
    local words=() rest=${COMP_LINE:0:COMP_POINT} trimmed word i
    for ((i = 0; i <= COMP_CWORD; i++)); do
        word=${COMP_WORDS[i]}
        trimmed=${rest#"${rest%%[![:space:]]*}"}
        if ((i > 0)) && [[ $rest == "$trimmed" ]]; then
            words[${#words[@]} - 1]+=$word
        else
            words+=("$word")
        fi
        rest=${trimmed#"$word"}
    done
    local current=${words[${#words[@]} - 1]} candidate kind
    local program=${words[0]/#\~\//$HOME/}

    # What bash puts in the place of the word begins behind the last character at which it took the word apart.
    local before=
    if [[ $current == *[=:]* && $COMP_WORDBREAKS == *=* ]]; then before=${current%"${current##*[=:]}"}; fi

    COMPREPLY=()
    while IFS= read -r candidate; do
        case $candidate in
            '<files>' | '<directories>')
                if [[ $candidate == '<files>' ]]; then kind=-f; else kind=-d; fi
                compopt -o filenames 2>/dev/null
                local value=${current##*=} file
                while IFS= read -r file; do COMPREPLY+=("$file"); done < <(compgen "$kind" -- "$value")
                ;;
            *) COMPREPLY+=("${candidate#"$before"}") ;;
        esac
    done < <("$program" --complete "$((${#words[@]} - 2))" "${words[@]:1}" 2>/dev/null)
    if ((${#COMPREPLY[@]} == 1)) && [[ ${COMPREPLY[0]} == *= ]]; then compopt -o nospace 2>/dev/null; fi
}

complete -F _zor zor
