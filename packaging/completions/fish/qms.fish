# Completion of qms for fish.
complete -c qms -f
set -l commands scan ocr search list status
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a scan -d "Bring the index in line with the folders"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a ocr -d "Read pictures that wait"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a search -d "Pictures in which a text stands"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a list -d "The newest pictures"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -a status -d "Paths, counts and settings in force"
complete -c qms -n "__fish_seen_subcommand_from ocr" -l all -d "All that waits, not one batch"
complete -c qms -n "__fish_seen_subcommand_from search list" -l limit -x -d "At most this many rows"
complete -c qms -n "__fish_seen_subcommand_from $commands" -l json -d "One JSON object a line"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -s h -l help -d "Print a summary"
complete -c qms -n "not __fish_seen_subcommand_from $commands" -s v -l version -d "Print the version"
