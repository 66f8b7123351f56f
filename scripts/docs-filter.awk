# Prepares a page or a header for Doxygen. Doxygen drops a "%" before a word, except in double quotes, so others are doubled.
# It also ends a span of code at an apostrophe, so such a span gets two backticks at each end.
FILENAME ~ /\.md$/ && /^```/ { isCode = !isCode }
FILENAME ~ /\.md$/ { isProse = !isCode && !/^    / }
FILENAME ~ /\.h$/ { isProse = /^ *\/\/\// && !/^ *\/\/\/     / }

isProse && !/``/ {
    count = split($0, pieces, "`")
    line = pieces[1]
    for (i = 2; i <= count; ++i) {
        # With an even number of pieces, one of them is a span that ends in another line.
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
