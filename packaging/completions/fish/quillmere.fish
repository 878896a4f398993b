# Completion of quillmere for fish.
complete -c quillmere -f
complete -c quillmere -n __fish_is_first_arg -a capture-region -d "Capture a region"
complete -c quillmere -n __fish_is_first_arg -a capture-window -d "Capture a window"
complete -c quillmere -n __fish_is_first_arg -a capture-scroll -d "Capture a region while it scrolls"
complete -c quillmere -n __fish_is_first_arg -a capture-screen -d "Capture the monitor under the pointer"
complete -c quillmere -n __fish_is_first_arg -a capture-last -d "Capture the last region again"
complete -c quillmere -n __fish_is_first_arg -a capture-text -d "Copy the text in a region"
complete -c quillmere -n "__fish_seen_subcommand_from capture-screen" -l all -d "All monitors"
complete -c quillmere -n "string match -q -- 'capture-*' (commandline -opc)[2]" -l delay -x -d "Seconds to wait"
complete -c quillmere -n __fish_is_first_arg -a library -d "Open the library"
complete -c quillmere -n __fish_is_first_arg -a settings -d "Open the settings"
complete -c quillmere -n __fish_is_first_arg -a annotate -d "Open a picture in the editor"
complete -c quillmere -n __fish_is_first_arg -a quit -d "Quit the running instance"
complete -c quillmere -n "__fish_seen_subcommand_from annotate" -F
complete -c quillmere -n __fish_is_first_arg -s h -l help -d "Print a summary"
complete -c quillmere -n __fish_is_first_arg -l version -d "Print the version"
