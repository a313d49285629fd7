# Checks that every function of our own that a request ran lies in
# .text.hotpath. Input: rest.cgi's link map, then one file per request with
# the (mangled) names of the functions it ran, one a line (from callgrind).
# Prints each function of ours outside the hot section and fails when there
# is one. A function's code is the input section named after it
# (".text.<name>", its cold part ".text.unlikely.<name>").

FNR == 1 { request = (FILENAME == ARGV[1]) ? 0 : request + 1 }

# The link map's code sections: input sections indented under their output
# section, a long name alone on its line with the rest below.
request == 0 && /^[^ ]/ { output = $1; pending = ""; next }
request == 0 && output !~ /^\.text(\.hotpath)?$/ { next }
request == 0 && /^ \.text[^ ]* +0x[0-9a-f]+ +0x[0-9a-f]+ +[^ ]/ { place($1, $4); next }
request == 0 && /^ \.text[^ ]*$/ { pending = $1; next }
request == 0 && pending != "" && /^ +0x[0-9a-f]+ +0x[0-9a-f]+ +[^ ]/ { place(pending, $3); pending = ""; next }
request == 0 { next }

function place(section, file) {
  hot[section] = (output == ".text.hotpath")
  # Our objects are the build's (relative paths), the libraries' installed ones.
  ours[section] = file !~ /^\//
}

{
  name = $0
  section = ".text." name
  if (name ~ /\.cold$/) { section = name; sub(/\.cold$/, "", section); section = ".text.unlikely." section }
  if (!(section in hot) || !ours[section] || hot[section] || (section in reported)) next
  reported[section] = 1
  failures++
  print "outside .text.hotpath: " section " (request " request ")"
}

END {
  if (failures) {
    print failures " function(s) of the common requests are not in .text.hotpath: run bench/hot-layout"
    exit 1
  }
}
