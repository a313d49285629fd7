# The shell commands of a Markdown file's code blocks (indented by four
# spaces, or fenced), one a line as "<line number><TAB><command>", with
# comments cut off and every run of white space made one space, so that a
# command is named the same however it is wrapped.
#   awk -f commands.awk README.md
# A block whose lines show a prompt ("$ ") is a transcript: only prompted
# lines are commands, the others are what they print. In any other block
# every line is a command, but for lines holding only a comment. A command
# goes on over lines that end in a backslash or leave a quote open.

# Cuts the comment off one line of a command, given whether it begins inside
# quotes; sets `quote` to the quote still open at its end ("" for none).
function strip_comment(text, quote,    out, i, c, n) {
  out = ""
  n = length(text)
  for (i = 1; i <= n; ++i) {
    c = substr(text, i, 1)
    if (quote == "" && c == "#" && (i == 1 || substr(text, i - 1, 1) ~ /[ \t]/)) break
    if (quote == "" && c == "\\") { out = out c substr(text, i + 1, 1); ++i; continue }
    if (quote == "" && (c == "'" || c == "\"")) quote = c
    else if (quote != "" && c == quote) quote = ""
    out = out c
  }
  open_quote = quote
  return out
}

function emit(    text) {
  if (command == "") return
  text = command
  gsub(/\\\n/, " ", text)
  gsub(/[ \t\n]+/, " ", text)
  sub(/^ /, "", text)
  sub(/ $/, "", text)
  if (text != "") print start "\t" text
  command = ""
}

# One line of a block; `prompted` tells whether the block is a transcript.
function take(line, number, prompted,    body, continuing) {
  continuing = command != "" && (open_quote != "" || command ~ /\\$/)
  if (continuing) {
    body = strip_comment(line, open_quote)
    command = command "\n" body
    sub(/[ \t]+$/, "", command)
    if (open_quote == "" && command !~ /\\$/) emit()
    return
  }
  emit()
  sub(/^[ \t]+/, "", line)
  if (prompted) {
    if (line !~ /^\$ /) return
    line = substr(line, 3)
  } else if (line ~ /^#/ || line == "") {
    return
  }
  start = number
  command = strip_comment(line, "")
  sub(/[ \t]+$/, "", command)
  if (open_quote == "" && command !~ /\\$/) emit()
}

function flush_block(    i, prompted) {
  prompted = 0
  for (i = 1; i <= count; ++i) if (lines[i] ~ /^[ \t]*\$ /) prompted = 1
  command = ""
  open_quote = ""
  for (i = 1; i <= count; ++i) take(lines[i], numbers[i], prompted)
  emit()
  count = 0
}

function keep(line) {
  lines[++count] = line
  numbers[count] = NR
}

BEGIN { count = 0; fenced = 0; previous_blank = 1; in_block = 0 }

/^[ \t]*(```|~~~)/ {
  if (fenced) { flush_block(); fenced = 0 } else { fenced = 1 }
  previous_blank = 0
  next
}
fenced { keep($0); next }
/^(    |\t)/ && (in_block || previous_blank) {
  in_block = 1
  keep(substr($0, ($0 ~ /^\t/) ? 2 : 5))
  previous_blank = 0
  next
}
/^[ \t]*$/ { previous_blank = 1; next }
{
  if (in_block) flush_block()
  in_block = 0
  previous_blank = 0
}
END { flush_block() }
