# Completion of zdbs(1) for fish. Commands and options are those that the program's help tells.

# The words of a part of the help of a command, each with its description behind a tab.
function __zdbs_help --argument-names part
    zdbs $argv[2..-1] --help 2>/dev/null | awk -v part="$part:" '
        $0 == part { isPart = 1; next }
        !/^  / { isPart = 0 }
        isPart && /^  [^ ]/ {
            word = $1
            sub(/^-.,/, "", word)
            print word "\t" substr($0, 31)
        }'
end

# The first column of a listing; of documents the last one.
function __zdbs_listed
    zdbs $argv 2>/dev/null | tail -n +2 | cut -d ' ' -f 1
end

function __zdbs_documents
    zdbs $argv 2>/dev/null | tail -n +2 | sed 's/^ *[0-9]*  *[0-9.]* [kMGTPE]*B  //'
end

# What may stand where the cursor is; files where nothing else may.
function __zdbs_candidates
    set -l current (commandline -ct)
    set -l command
    set -l database
    set -l home
    set -l value
    set -l n 0
    for word in (commandline -opc)[2..-1]
        if test -n "$value"
            test $value = --home; and set home --home $word
            set value
            continue
        end
        switch $word
            case --home --output --into --name --fragments --limit --offset --files-from \
                    --to --as --pattern --prefix --entities '--max-*'
                set value $word
            case '-?*'
            case '*'
                if test -z "$command"
                    set command $word
                else if test "$command" = user
                    set command user $word
                else
                    test $n = 0; and set database $word
                    set n (math $n + 1)
                end
        end
    end
    if test -n "$value"
        __fish_complete_path $current
        return
    end
    if string match -q -- '-*' $current
        __zdbs_help Options $command
        return
    end
    switch "$command:$n"
        case :0 user:0
            __zdbs_help Commands $command
        case grant:0 revoke:0 'user passwd:0' 'user remove:0'
            __zdbs_listed $home user list
        case 'init:*' 'user*' 'create:*'
        case 'backup:*' grant:1 revoke:1
            __zdbs_listed $home list
        case 'remove:*' dump:1
            if test $n = 0
                __zdbs_listed $home list
            else
                __zdbs_documents $home list $database
            end
        case 'restore:*'
            __fish_complete_path $current
        case '*:0'
            __zdbs_listed $home list
        case '*'
            __fish_complete_path $current
    end
end

complete -c zdbs -f -a '(__zdbs_candidates)'
