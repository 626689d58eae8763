# A manual page of a program's help (documents.sh) and a template, in which @SYNOPSIS@, @DESCRIPTION@,
# @OPTIONS@, @COMMANDS@ and @EXIT STATUS@ are replaced.

function roff(text) {
    gsub(/\\/, "\\e", text)
    gsub(/-/, "\\-", text)
    return text ~ /^[.']/ ? "\\&" text : text
}
function add(place, text) { part[place] = part[place] text "\n" }

# The first word bold, the names of values italic: "--wait SECONDS".
function tag(text,    words, n, i, result) {
    n = split(text, words, " ")
    result = "\\fB" roff(words[1]) "\\fR"
    for (i = 2; i <= n; ++i) result = result " \\fI" roff(words[i]) "\\fR"
    return result
}
function entry(place, name, text,    clause) {
    # "--watch Excludes: --wait"
    if (match(name, / (Excludes|Needs): .*/)) {
        clause = substr(name, RSTART + 1)
        name = substr(name, 1, RSTART - 1)
    }
    add(place, ".TP\n" tag(name))
    if (text != "") add(place, roff(text))
    pending = clause
}
function end_entry() {
    if (pending != "") add(place, roff("(" pending ")"))
    pending = ""
}

BEGIN { place = "DESCRIPTION" }

FNR != NR {
    end_entry()
    if (FNR == 1) printf ".TH %s 1 \"\" \"%s %s\" \"User Commands\"\n", toupper(name), name, version
    if (match($0, /^@.*@$/)) printf "%s", part[substr($0, 2, length($0) - 2)]
    else print
    next
}
/^# / {
    end_entry()
    place = "COMMANDS"
    in_command = 1
    description = ""
    next
}
/^Usage: / {
    if (!in_command) {
        add("SYNOPSIS", tag(substr($0, 8)))
        place = "OPTIONS"
        next
    }
    sub("^Usage: " name " ", "")
    sub(/\[OPTIONS\] /, "")
    add("COMMANDS", ".SS " tag($0))
    add("COMMANDS", roff(description))
    next
}
/^Exit status: / {
    place = "EXIT STATUS"
    sub(/^Exit status: /, "")
}
/^[A-Z][A-Za-z0-9 ]*:$/ {
    end_entry()
    is_list = $0 == "Subcommands:"  # each has a section of its own
    if (!in_command && !is_list && $0 !~ /^(Options|Positionals):$/)
        add(place, ".SS " substr($0, 1, length($0) - 1))
    next
}
is_list && !in_command { next }
# An option as the updater prints it: its help has no columns.
/^--/ {
    option = $1
    sub(/^[^ ]* /, "")
    entry(place, option, $0)
    next
}
/^  [^ ]/ {
    end_entry()
    line = substr($0, 3)
    text = ""
    if (match(line, /  +/)) {
        text = substr(line, RSTART + RLENGTH)
        line = substr(line, 1, RSTART - 1)
        sub(/^\.\.\. +/, "", text)  # of a positional that may be repeated
    }
    skipped = in_command && line ~ /^(-h,|--help-all)/
    if (!skipped) entry(place, line, text)
    next
}
/^   / {
    sub(/^ +/, "")
    if (!skipped) add(place, roff($0))
    next
}
/^$/ { next }
in_command { description = $0; next }
place == "OPTIONS" { add(place, ".PP\n" roff($0)); next }
{ add(place, roff($0)) }
