# bash completion for vantaroctl; the words come from "vantaroctl complete".
_vantaroctl_words() {
    local word quoted
    while IFS= read -r word; do
        printf -v quoted '%q' "$word"
        # What is on the line may be quoted already.
        if [[ $word == "$current"* || $quoted == "$current"* ]]; then COMPREPLY+=("$quoted"); fi
    done < <("${COMP_WORDS[0]}" complete "$@" 2>/dev/null)
}

_vantaroctl_files() {
    local word
    compopt -o filenames 2>/dev/null
    while IFS= read -r word; do COMPREPLY+=("$word"); done < <(compgen "$@" -- "$current")
}

_vantaroctl() {
    local current=${COMP_WORDS[COMP_CWORD]} command='' position=0 index word
    COMPREPLY=()
    # The command is the first word that is no option; the position counts the arguments behind it.
    for ((index = 1; index < COMP_CWORD; ++index)); do
        word=${COMP_WORDS[index]}
        if [[ $word == --timeout ]]; then
            ((++index))
        elif [[ $word != -* ]]; then
            if [[ -z $command ]]; then command=$word; else ((++position)); fi
        fi
    done
    [[ ${COMP_WORDS[COMP_CWORD - 1]} == --timeout ]] && return
    if [[ $current == -* ]]; then
        _vantaroctl_words options "$command"
        return
    fi
    case $command,$position in
    ,*) _vantaroctl_words commands ;;
    adopt,0) _vantaroctl_files -d ;;
    debug,0) COMPREPLY=($(compgen -W 'on off' -- "$current")) ;;
    get,1) _vantaroctl_words settings ;;
    set,1) _vantaroctl_words switches ;;
    set,2)
        if [[ ${COMP_WORDS[COMP_CWORD - 1]} == device-filter ]]; then
            _vantaroctl_words classes
        else
            COMPREPLY=($(compgen -W 'on off' -- "$current"))
        fi
        ;;
    set-list,0 | add,0 | drop,0) _vantaroctl_words drives ;;
    set-list,* | add,* | drop,*) _vantaroctl_files -f ;;
    explain,1) _vantaroctl_files -f ;;
    forget,0 | explain,0 | query,0 | list,0 | get,0 | set,0 | start,0 | stop,0 | status,0 | progress,0 | watch,0 | remove-sync,0 | eject,0)
        _vantaroctl_words drives
        ;;
    esac
}

complete -F _vantaroctl vantaroctl
