# Completion of qms for fish.
complete -c qms -f
set -l commands scan ocr search list status forget
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a scan -d "Bring the index in line with the folders"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a ocr -d "Read waiting pictures"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a search -d "List pictures that contain a text"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a list -d "List the newest pictures"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a status -d "Show the paths, counts and settings in force"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a forget -d "Take the text of pictures out of the index"
complete -c qms -n "__fish_seen_subcommand_from forget" -F
complete -c qms -n "__fish_seen_subcommand_from ocr" -l all -d "All waiting pictures, not just one batch"
complete -c qms -n "__fish_seen_subcommand_from status" -l failed -d "Pictures that cannot be read, and why"
complete -c qms -n "__fish_seen_subcommand_from search list" -l limit -x -d "At most this many results"
complete -c qms -n "__fish_seen_subcommand_from $commands" -l json -d "One JSON object per line"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -s h -l help -d "Print a summary"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -s v -l version -d "Print the version"
