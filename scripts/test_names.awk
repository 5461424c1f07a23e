# The names that tests in these sources can have, one a line, without building them: those of TEST and
# TEST_F; and for each TEST_P all that its instances could be called, by the texts in the sources that
# make them (a row's name among them) and by number. So it lists names that there are not, and none is
# missing. Used by scripts/test.

# What stands in the sources between here and the closing bracket, without blanks and line ends.
function arguments(text,    end) {
    end = index(text, ")")
    text = substr(text, 1, end - 1)
    gsub(/[ \n]/, "", text)
    return text
}

function take_tests(text, macro, names,    at, count, word) {
    count = 0
    while ((at = match(text, macro "\\(")) > 0) {
        text = substr(text, at + RLENGTH)
        split(arguments(text), word, ",")
        names[++count] = word[1] "." word[2]
    }
    return count
}

# The texts of a file as GoogleTest would have them in a name, with numbers besides.
function take_texts(text, texts,    at, count, i) {
    for (count = 0; count < 100; count++)
        texts[count + 1] = count
    gsub(/'"'/, "", text)
    while ((at = match(text, /"([^"\\]|\\.)*"/)) > 0) {
        texts[++count] = substr(text, at + 1, RLENGTH - 2)
        gsub(/[^A-Za-z0-9]/, "_", texts[count])
        text = substr(text, at + RLENGTH)
    }
    return count
}

function finish_file(    count, i, names, word, text) {
    count = take_tests(source, "(^|\n)TEST(_F)?", names)
    for (i = 1; i <= count; i++)
        print prefix names[i]
    count = take_tests(source, "(^|\n)TEST_P", names)
    for (i = 1; i <= count; i++)
        tests[++all_tests] = names[i]
    text = source
    while (match(text, /INSTANTIATE_TEST_SUITE_P\(/) > 0) {
        text = substr(text, RSTART + RLENGTH)
        split(substr(text, 1, 200), word, ",")
        gsub(/[ \n]/, "", word[1])
        gsub(/[ \n]/, "", word[2])
        instances[++all_instances] = word[1] "/" word[2]
        sources[all_instances] = source
    }
    source = ""
}

FNR == 1 && NR > 1 { finish_file() }
{ source = source $0 "\n" }

END {
    finish_file()
    for (i = 1; i <= all_instances; i++) {
        split(instances[i], part, "/")
        count = take_texts(sources[i], texts)
        for (j = 1; j <= all_tests; j++) {
            if (index(tests[j], part[2] ".") == 1)
                for (k = 1; k <= count; k++)
                    print prefix part[1] "/" tests[j] "/" texts[k]
        }
    }
}
