# What Doxygen reads of a document: the same, with links that hold in the reference.
# - Pages and headings get names: page-guide-x for docs/guide/x.md, in-guide-x-the-heading in it.
# - Links to documents and headings use these names; links to what is not in the reference become text.

# Where a link leads, seen from the folder of this document.
function resolved(target,    path) {
    path = folder target
    while (sub(/\/\.\//, "/", path) || sub(/[^\/]+\/\.\.\//, "", path)) {
    }
    return path
}

function exists(path,    line, found) {
    found = (getline line < path) >= 0
    close(path)
    return found
}

# guide-x for .../docs/guide/x.md; nothing for what is no page.
function page_of(path) {
    if (path !~ /(^|\/)docs\/.*\.md$/ || !exists(path)) return ""
    sub(/^(.*\/)?docs\//, "", path)
    sub(/\.md$/, "", path)
    gsub(/\//, "-", path)
    return path
}

FNR == 1 {
    folder = FILENAME
    sub(/[^\/]*$/, "", folder)
    page = page_of(FILENAME)
}

# The last part of a link to a heading.
function slug(text) {
    text = tolower(text)
    gsub(/[^a-z0-9 _-]/, "", text)
    gsub(/ /, "-", text)
    return text
}

# What stands for [text](target).
function link(text, target,    name, heading, file) {
    if (target ~ /^[a-z]+:/) return "[" text "](" target ")"
    file = heading = target
    sub(/#.*/, "", file)
    sub(/^[^#]*#?/, "", heading)
    name = file == "" ? page : page_of(resolved(file))
    if (name == "") return text
    return "[" text "](" (heading == "" ? "@ref page-" name : "#in-" name "-" heading) ")"
}

function with_links(rest,    done, found, text, target) {
    done = ""
    while (match(rest, /\[[^][]*\]\([^() ]*\)/)) {
        found = substr(rest, RSTART, RLENGTH)
        done = done substr(rest, 1, RSTART - 1)
        rest = substr(rest, RSTART + RLENGTH)
        if (substr(done, length(done)) == "!") {
            done = done found
            continue
        }
        text = target = found
        sub(/^\[/, "", text)
        sub(/\]\(.*/, "", text)
        sub(/.*\]\(/, "", target)
        sub(/\)$/, "", target)
        done = done link(text, target)
    }
    return done rest
}

# Links may go over the end of a line, so paragraphs are taken whole.
function flush_paragraph() {
    if (paragraph != "") printf "%s", with_links(paragraph)
    paragraph = ""
}

/^ *```/ {
    flush_paragraph()
    fenced = !fenced
    print
    next
}

fenced { print; next }

/^#+ / {
    flush_paragraph()
    heading = $0
    sub(/^#+ /, "", heading)
    heading = slug(heading)
    if (headings[heading]++) heading = heading "-" (headings[heading] - 1)
    if (titled) {
        print $0 " {#in-" page "-" heading "}"
    } else {
        # The first page of all has its name from Doxygen.
        print page == "reference-start" ? $0 : $0 " {#page-" page "}"
    }
    titled = 1
    next
}

/^ *$/ { flush_paragraph(); print; next }

{ paragraph = paragraph $0 "\n" }

END { flush_paragraph() }
