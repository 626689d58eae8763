# A bash completion of a program's help (documents.sh).

# Options of the command that is being read; those in `valued` are followed by a value.
function option(word, value) {
    options[command] = options[command] " " word
    if (value ~ /^(FILE|FOLDER)$/) files[command] = files[command] "|" word
    else if (value != "") valued[command] = valued[command] "|" word
}

BEGIN { count = split("", commands); commands[++count] = "" }
/^# / { commands[++count] = command = $2; names = names " " $2; next }
# As the updater prints it: "--deviceid=NewDeviceID Device ID …"
/^--/ {
    equals = index($1, "=")
    word = equals ? substr($1, 1, equals) : $1
    option(word, "")
    before = substr(word, 1, equals - 1)
    if ($1 ~ /=[0-9a-f][0-9a-f]:/) address = before
    else if (equals) valued[""] = valued[""] "|" before
    next
}
/^  -/ {
    line = substr($0, 3)
    sub(/  .*/, "", line)
    n = split(line, words, " ")
    value = n > 1 && words[2] !~ /:$/ ? words[2] : ""
    sub(/^-h,/, "", words[1])
    option(words[1], value)
}

function list(text) { return substr(text, 2) }
function rows(of, action,    i) {
    for (i = 1; i <= count; ++i)
        if (commands[i] in of) printf "        %s) %s ;;\n", pattern(commands[i], of[commands[i]]), action
}
function pattern(command, alternatives,    words, n, i, result) {
    n = split(list(alternatives), words, "|")
    for (i = 1; i <= n; ++i) result = result (i > 1 ? " | " : "") "'" command " " words[i] "'"
    return result
}
END {
    id = name
    gsub(/-/, "_", id)
    print "# bash completion for " name
    print "_" id "() {"
    print "    local cur prev words cword split command= word"
    print "    _init_completion -s -n : || return"
    if (names != "") {
        print "    for word in \"${words[@]:1:cword-1}\"; do"
        gsub(/ /, " | ", names)
        print "        case $word in " substr(names, 4) ") command=$word && break ;; esac"
        print "    done"
        gsub(/ \| /, " ", names)
    }
    print "    case \"$command $prev\" in"
    rows(valued, "return")
    rows(files, "_filedir && return")
    if (address != "") {
        print "        ' " address "')"
        print "            COMPREPLY=($(compgen -W \"$(cat /sys/class/net/*/address)\" -- \"$cur\"))"
        print "            __ltrim_colon_completions \"$cur\""
        print "            return"
        print "            ;;"
    }
    print "    esac"
    print "    if [[ $cur == -* ]]; then"
    print "        case $command in"
    for (i = 1; i <= count; ++i) {
        c = commands[i]
        print "        '" c "') COMPREPLY=($(compgen -W '" list(options[c]) "' -- \"$cur\")) ;;"
    }
    print "        esac"
    print "        [[ ${COMPREPLY-} != *= ]] || compopt -o nospace"
    if (names != "") {
        print "    elif [[ -z $command ]]; then"
        print "        COMPREPLY=($(compgen -W '" list(names) "' -- \"$cur\"))"
    }
    print "    else"
    print "        _filedir" (address == "" ? "" : " '@(dfw|zip)'")
    print "    fi"
    print "} && complete -F _" id " " name
}
