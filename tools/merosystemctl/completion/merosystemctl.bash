# bash completion for merosystemctl. The program itself lists the candidates.
_merosystemctl()
{
    local i
    for ((i = 1; i < COMP_CWORD; i++)); do
        if [[ ${COMP_WORDS[i]} == -- ]]; then # another command follows
            declare -F _command_offset > /dev/null && _command_offset $((i + 1))
            return
        fi
    done
    mapfile -t COMPREPLY < <(merosystemctl complete -- "${COMP_WORDS[@]:1:COMP_CWORD}" 2> /dev/null)
    for i in "${!COMPREPLY[@]}"; do
        printf -v "COMPREPLY[i]" %q "${COMPREPLY[i]}"
    done
}
complete -F _merosystemctl merosystemctl
