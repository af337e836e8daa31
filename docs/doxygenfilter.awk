# Tells doxygen how comments in our headers are meant:
# - A comment speaks for all declarations below it, up to a blank line or another comment.
# - "Throws:", "Threads:" and their kin head a paragraph of their own.
# - What is defaulted, and has no comment, does as the compiler does: it stays out of the pages.
# Comments are repeated for that: doxygen's warnings name lines further down than they are.

function paragraphs(text) {
    if (text ~ /@name/) return text # a group has one paragraph only
    while (match(text, /(\/\/\/|[.:;)]) (Throws|Threads|Lifetime|Cost|Locks|Messages): /)) {
        title = substr(text, RSTART, RLENGTH)
        before = substr(text, 1, RSTART - 1) substr(title, 1, index(title, " ") - 1)
        gsub(/[^A-Za-z]/, "", title)
        text = before "\n///\n/// @par " title "\n/// " substr(text, RSTART + RLENGTH)
    }
    return text
}

# A line of a comment.
depth == 0 && statement == "" && /^ *\/\/\// {
    comment = (own ? comment "\n" : "") $0
    own = 1
    if (/@[{}]/) endReach()
    next
}

# What ends the reach of a comment.
statement == "" && /^ *(\/\/.*|#.*|[a-z]+:|};?)?$/ {
    endReach()
    print
    next
}

# The head of a class or a namespace.
/^ *{$/ && statement ~ /^ *(template<[^\n]*\n *)*(class|struct|namespace) / {
    endReach()
    print statement "\n" $0
    statement = ""
    next
}

# A declaration.
{
    statement = statement (statement == "" ? "" : "\n") $0
    code = $0
    sub(/ *\/\/.*/, "", code)
    depth += gsub(/[{]/, "{", code) - gsub(/[}]/, "}", code)
}
depth == 0 && code ~ /[;}]$/ {
    isUsual = statement ~ /= (default|delete);| override/ || statement ~ /^ *(virtual )?~/
    if (comment != "" && (own || !isUsual)) print paragraphs(comment)
    if (own || statement !~ /= default;/) print statement
    statement = ""
    own = 0
}

function endReach() {
    if (own) print paragraphs(comment)
    comment = ""
    own = 0
}
