# fish completion for vantaroctl; the words come from "vantaroctl complete".

# The command line's words behind the program's name, without options: the command and its arguments.
function __vantaroctl_arguments
    set -l skip 0
    for word in (commandline -opc)[2..]
        if test $skip = 1
            set skip 0
        else if test "$word" = --timeout
            set skip 1
        else if not string match -q -- '-*' $word
            echo -- $word
        end
    end
end

# The word at the cursor is the number behind --timeout.
function __vantaroctl_at_number
    test "$(commandline -opc)[-1]" = --timeout
end

# The command is one of those given, and so many of its arguments stand there already.
function __vantaroctl_at --argument-names count
    __vantaroctl_at_number; and return 1
    set -l given (__vantaroctl_arguments)
    test (count $given) -ge 1; or return 1
    test (math (count $given) - 1) = $count; or return 1
    contains -- $given[1] $argv[2..]
end

function __vantaroctl_behind
    __vantaroctl_at_number; and return 1
    set -l given (__vantaroctl_arguments)
    test (count $given) -ge 2; and contains -- $given[1] $argv
end

function __vantaroctl_options
    vantaroctl complete options (__vantaroctl_arguments)[1] 2>/dev/null
end

set -l drive_commands forget explain query list set-list add drop get set start stop status progress watch remove-sync eject

complete -c vantaroctl -f
complete -c vantaroctl -n 'test -z "$(__vantaroctl_arguments)"' -a '(vantaroctl complete commands)'
complete -c vantaroctl -n 'string match -q -- "-*" (commandline -ct)' -a '(__vantaroctl_options)'
complete -c vantaroctl -n "__vantaroctl_at 0 $drive_commands" -a '(vantaroctl complete drives)'
complete -c vantaroctl -n '__vantaroctl_at 0 adopt' -a '(__fish_complete_directories)'
complete -c vantaroctl -n '__vantaroctl_at 0 debug' -a 'on off'
complete -c vantaroctl -n '__vantaroctl_at 1 get' -a '(vantaroctl complete settings)'
complete -c vantaroctl -n '__vantaroctl_at 1 set' -a '(vantaroctl complete switches)'
complete -c vantaroctl -n '__vantaroctl_at 2 set; and test (__vantaroctl_arguments)[3] = device-filter' -a '(vantaroctl complete classes)'
complete -c vantaroctl -n '__vantaroctl_at 2 set; and test (__vantaroctl_arguments)[3] != device-filter' -a 'on off'
complete -c vantaroctl -n '__vantaroctl_behind set-list add drop' -F
complete -c vantaroctl -n '__vantaroctl_at 1 explain' -F
