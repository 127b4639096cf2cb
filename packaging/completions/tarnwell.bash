# Completion of tarnwell for bash. The program itself knows what may stand next.
_tarnwell() {
  local current="${COMP_WORDS[COMP_CWORD]}" word
  current="${current#[\"\']}" # an open quotation mark
  current="${current//\\/}"   # escaped spaces
  COMPREPLY=()
  while IFS=$'\t' read -r word _; do
    [[ -z "$word" ]] || COMPREPLY+=("$(printf '%q' "$word")")
  done < <("${COMP_WORDS[0]}" complete "${COMP_WORDS[@]:1:COMP_CWORD-1}" "$current" 2>/dev/null)
}
complete -F _tarnwell tarnwell
