# Completion of tarnwell for fish. The program itself knows what may stand next.
function __tarnwell_completions
    set -l words (commandline -opc)
    $words[1] complete $words[2..-1] (commandline -ct | string unescape) 2>/dev/null
end
complete -c tarnwell -f -a '(__tarnwell_completions)'
