# Reads a registry in its text form and tells which of its values a registry file (ini) carries, and
# for what reason each of the others was left out. Fails when there is a value without a reason.

function section_of(path) {
    if (!sub(/^HKEY_LOCAL_MACHINE/, "ZV_HKEY_CONFIG", path))
        if (!sub(/^HKEY_CLASSES_ROOT/, "ZV_HKEY_CLASSES", path))
            sub(/^HKEY_CURRENT_USER/, "ZV_HKEY_USER\\" user, path)
    return path
}

function left_out(reason) {
    count[reason]++
    if (!(reason in example))
        example[reason] = path "\\" name
}

# The number of bytes that a string takes in the registry, its terminator included.
function size_of(text) {
    gsub(/\\\\|\\"/, "x", text)
    return (length(text) - 2 + 1) * 2
}

function value(line) {
    if (substr(line, 1, 1) == "@") {
        name = ""
        data = substr(line, 3)
    } else {
        match(line, /^"([^"\\]|\\.)*"/)
        name = substr(line, 2, RLENGTH - 2)
        data = substr(line, RLENGTH + 2)
    }
    gsub(/\\\\/, "\\", name)
    total++
    if (tolower(section_of(path) "\t" name) in carried)
        count["carried"]++
    else if (data ~ /^dword:/ || data ~ /^hex\([5b]\):/)
        left_out("a number; the file holds text alone")
    else if (data ~ /^hex:/ || data ~ /^hex\(0\):/)
        left_out("binary data or no type; the file holds text alone")
    else if (data ~ /^hex\(7\):/)
        left_out("a list of texts; the file holds single texts")
    else if (data ~ /^hex\(1\):/)
        left_out("a text with a line break; it would damage the file")
    else if (index(name, "="))
        left_out("a name with \"=\"; it would damage the file")
    else if (size_of(data) > 2048)
        left_out("a text of more than 2048 bytes")
    else
        left_out("NO REASON")
}

BEGIN {
    while ((getline line < ini) > 0) {
        sub(/\r$/, "", line)
        if (line ~ /^\[/)
            section = substr(line, 2, length(line) - 2)
        else if (line != "")
            carried[tolower(section "\t" substr(line, 1, index(line, "=") - 1))] = 1
    }
}

/^\[/ { path = substr($0, 2, length($0) - 2); next }
/\\$/ { sub(/\\$/, ""); pending = pending $0; next }
/^["@ ]/ { sub(/^ +/, ""); value(pending $0); pending = "" }

END {
    printf "%6d values in the registry\n%6d carried\n", total, count["carried"]
    for (reason in example)
        printf "%6d left out: %s\n         such as %s\n", count[reason], reason, example[reason]
    exit ("NO REASON" in example)
}
