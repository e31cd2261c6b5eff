# Completion for bash: the tool itself knows which words there may be.
_dicom_mend()
{
    local IFS=$'\n' words=() word last= answer
    # Bash takes "=" and ":" for words of their own; the tool gets the words as they were typed.
    for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
        if [[ ($word == [=:] || $last == *[=:]) && -n $last && $COMP_LINE == *"$last$word"* ]]; then
            last=$last$word
            words[${#words[@]} - 1]=$last
        else
            last=$word
            words+=("$word")
        fi
    done
    # A quote that is open is no part of the word, nor are marks of single letters.
    last=${last#[\"\']}
    last=${last//\\/}
    words[${#words[@]} - 1]=$last
    mapfile -t answer <<<"$(dicom-mend --completions "${words[@]}" 2>/dev/null)"
    COMPREPLY=()
    for word in "${answer[@]:1}"; do
        word=${word%%$'\t'*}
        # What stands before "=" is not replaced.
        [[ $last != *=* ]] || word=${word#*=}
        [[ -z $word ]] || COMPREPLY+=("$word")
    done
    case ${answer[0]-} in
    files) compopt -o default ;;
    folders) compopt -o dirnames ;;
    open) compopt -o nospace ;;
    esac
}
complete -F _dicom_mend dicom-mend
