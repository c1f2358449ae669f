# What Doxygen reads of a public header, line for line:
# - the whole of it inside the group of its component, as the table tells (-v table=FILE);
# - no copies, moves and assignments that have no comment: they are what they are of any class;
# - no second declaration of a friend function, which is described in its class; no friend classes;
# - where the value of an enumeration has no comment, a reference that leads nowhere: Doxygen itself
#   does not miss those comments.

FNR == 1 {
    while ((getline line < table) > 0) {
        split(line, entry, " ")
        if (substr(FILENAME, length(FILENAME) - length(entry[1])) == "/" entry[1]) group = entry[2]
    }
    print "/** @addtogroup " group " */ /** @{ */"
    next
}

# Statements are looked at whole. What is dropped leaves empty lines, so that line numbers stay.
function flush_statement(    whole, i) {
    whole = statement
    gsub(/[ \t\n]+/, " ", whole)
    sub(/^ /, "", whole)
    if (whole ~ /^friend /) friends[substr(whole, 8)] = 1
    if (!documented && is_dropped(whole)) {
        for (i = 0; i < lines; ++i) print ""
    } else {
        printf "%s", statement
    }
    statement = ""
    lines = 0
    documented = 0
}

function is_dropped(whole,    name) {
    if (whole in friends) return 1
    name = whole
    sub(/[&(].*/, "", name)
    sub(/^[A-Za-z0-9_]+& operator=\(/, name "(", whole)
    return whole ~ ("^" name "\\((const " name "&|" name "&&)( [a-z]+)?\\)( noexcept)?( = default)?;")
}

lines > 0 {
    statement = statement $0 "\n"
    ++lines
    if (/[;{]/) flush_statement()
    next
}

/^ *\/\/\// { documented = 1; print; next }

/^ *(friend )?PTMATCH_EXPORT / || /^ *[A-Za-z0-9_]+(& operator=)?\((const )?[A-Za-z0-9_]+&/ {
    statement = $0 "\n"
    lines = 1
    if (/[;{]/) flush_statement()
    next
}

/^ *enum .*[{]$/ { in_enum = 1; documented = 0; print; next }

in_enum && /^ *}/ { in_enum = 0 }

in_enum && /^ *[a-zA-Z]/ && !/\/\/\/</ && !documented {
    print $0 "  ///< @ref value_without_comment"
    next
}

/^ *friend (class|struct) / { print ""; next }

{ documented = 0; print }

END { print "/** @} */" }
