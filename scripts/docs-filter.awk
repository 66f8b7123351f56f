# Prepares a page or a header for Doxygen. It takes the "%" before a word for an escape and drops it, except in double
# quotes: so others are doubled. And it ends a span of code at an apostrophe, unless that has two backticks at each end.
FILENAME ~ /\.md$/ && /^```/ { isCode = !isCode }
FILENAME ~ /\.md$/ { isProse = !isCode && !/^    / }
FILENAME ~ /\.h$/ { isProse = /^ *\/\/\// && !/^ *\/\/\/     / }

isProse && !/``/ {
    count = split($0, pieces, "`")
    line = pieces[1]
    for (i = 2; i <= count; ++i) {
        # Of an even number of pieces one is a span that ends in another line.
        isApart = count % 2 && (pieces[i - i % 2] ~ /'/)
        line = line (isApart ? "``" : "`") pieces[i]
    }
    $0 = line
}
isProse {
    count = split($0, pieces, "\"")
    for (i = 1; i <= count; i += 2) gsub(/%[A-Za-z]/, "%&", pieces[i])
    line = pieces[1]
    for (i = 2; i <= count; ++i) line = line "\"" pieces[i]
    $0 = line
}
{ print }
