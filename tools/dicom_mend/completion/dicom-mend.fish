# Completion for fish: the tool itself knows which words there may be.
function __dicom_mend_words
    set -l words (commandline -opc)
    # What is typed may stand in quotes, or have brackets that fish has marked.
    set -l typed (commandline -ct)
    set -l begun (string match -rg -- '^["\'](.*)' "$typed"; or string unescape -- "$typed"; or echo -- "$typed")
    set -l answer (dicom-mend --completions $words[2..-1] "$begun" 2>/dev/null)
    set -l option (string match -r -- '^--[^=]*=' "$begun")
    # Paths are completed as those of a command that fish knows nothing of.
    set -l path (string replace -r -- '^--[^=]*=' '' "$begun")
    switch "$answer[1]"
        case files
            string join \n -- "$option"(complete -C "'' $path")
        case folders
            string join \n -- "$option"(complete -C "'' $path" | string match -r '^.*/(?=\t|$)')
        case '*'
            string join \n -- $answer[2..-1]
    end
end
complete -c dicom-mend -f -a '(__dicom_mend_words)'
