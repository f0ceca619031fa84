# Makes the code of table rows, which has backslashes and quotes, one that Doxygen takes as it stands.
/^\| `/ {
    s/&/\&amp;/g
    s/</\&lt;/g
    s/>/\&gt;/g
    s/\\/\\\\/g
    s/([%@#"])/\\\1/g
    s/`([^`]*)`/<code>\1<\/code>/g
}
