# Maps the offsets a request touched to the input sections of rest.cgi's
# link map that hold them, and prints one line per input section (run with
# mangled-prefix.awk, whose functions it uses):
#   <part> TAB <request> TAB <linker script pattern>
# part is 1-text, 2-rodata or 3-bss; request is the number of the first
# request (file) that touched it. Input: the link map, then one file of
# decimal offsets per request, in order. bench/hot-layout sorts the lines.

function hex(text,    value, i) {
  value = 0
  text = tolower(text)
  sub(/^0x/, "", text)
  for (i = 1; i <= length(text); i++)
    value = value * 16 + index("0123456789abcdef", substr(text, i, 1)) - 1
  return value
}

# An input section of the map, in address order.
function remember(section, address, size, file) {
  if (hex(size) == 0 || file ~ /^\(/) return
  count++
  start[count] = hex(address)
  length_of[count] = hex(size)
  name[count] = section
  origin[count] = file
  part[count] = part_now
  if (count > 1 && start[count] < start[count - 1]) {
    print "hot-layout: the map is not in address order at " section > "/dev/stderr"
    failed = 1
    exit 1
  }
}

# The input section holding an offset, or 0.
function find(offset,    low, high, middle) {
  low = 1
  high = count
  while (low < high) {
    middle = int((low + high + 1) / 2)
    if (start[middle] <= offset) low = middle
    else high = middle - 1
  }
  if (count > 0 && start[low] <= offset && offset < start[low] + length_of[low]) return low
  return 0
}

# An object file as a linker script names it: "libc.a:malloc.o" for an
# archive member, "crtbeginS.o" for a file of its own.
function object(file,    member) {
  member = file
  sub(/.*\//, "", member)
  if (sub(/\(/, ":", member)) sub(/\)$/, "", member)
  return member
}

# The pattern that places one input section. Our objects and libstdc++ are
# built with a section per function and per variable: those are named
# alone. The C library's sections are shared by all its members, and
# generic names (".text.unlikely", ".rodata.str1.1") by all objects: those
# are named with their object file. A function of our own is named without
# its parameter types (mangled-prefix.awk), so that a changed signature
# stays where it was; the libraries' names change only with the toolchain.
function pattern(section, file,    member, head, prefix) {
  member = object(file)
  if (member !~ /^libc\.a:/ && section ~ /^\.(text|rodata|bss)\.[^.]/ &&
      section !~ /^\.[a-z]+\.(unlikely|startup|exit|hot|str[0-9.]*|cst[0-9]*)$/) {
    if (ours(file) && match(section, /^\.(text|rodata|bss)\.((unlikely|startup|exit|hot)\.)?/)) {
      head = substr(section, 1, RLENGTH)
      prefix = entity_prefix(substr(section, RLENGTH + 1))
      if (prefix != "") return "*(" head prefix ")"
    }
    return "*(" section ")"
  }
  return "*" member "(" section ")"
}

# Our own objects are the build's (relative paths); the libraries' are
# installed ones (absolute).
function ours(file) { return file !~ /^\// }

function emit(which, request, text) {
  if ((which SUBSEP text) in placed) return
  placed[which, text] = 1
  print which "\t" request "\t" text
}

# A string function of the C library has a variant per instruction set,
# chosen at start for the processor; valgrind runs an older one than a
# current PC. The EVEX and AVX-512 variants go with the request, the AVX2
# ones and the one valgrind ran after everything else.
function code(request, section, file,    member, family) {
  member = file
  sub(/.*\(/, "", member)
  family = member
  if (file ~ /libc\.a\(/ && sub(/-(sse|ssse|avx|evex).*/, "", family)) {
    emit("1-text", request, "~*libc.a:" family "-evex*.o(.text .text.*) *libc.a:" family "-avx512*.o(.text .text.*)")
    emit("1-text", 9, "*libc.a:" family "-avx*.o(.text .text.*)")
    emit("1-text", 9, pattern(section, file))
    return
  }
  emit("1-text", request, pattern(section, file))
  strings(request, section, file)
}

# The string literals and constants of code that ran. The linker merges
# equal ones of all objects into one, so the address of one read says
# little about whose it is (and changes with the layout); those of the code
# that ran are what it reads, and what it passes to the kernel, which
# lackey does not see. A function's own strings are named after it; the
# rest of an object's (those of its tables, its constants) are the object's.
function strings(request, section, file,    member, function_name) {
  member = object(file)
  function_name = section
  if (member !~ /^libc\.a:/ && sub(/^\.text\.((unlikely|startup|exit|hot)\.)?/, "", function_name) &&
      function_name !~ /^(unlikely|startup|exit|hot)$/) {
    if (ours(file) && entity_prefix(function_name) != "") function_name = entity_prefix(function_name)
    emit("2-rodata", request, "*(.rodata." function_name ".str*)")
  }
  emit("2-rodata", request, "*" member "(.rodata.str* .rodata.cst*)")
}

# A large table (the C library's character classes) is read in a few
# places only: after the small read-only data, so that it does not spread
# the rest over more windows.
BEGIN { kLargeTable = 4096 }

FNR == 1 { request = (FILENAME == ARGV[1]) ? 0 : request + 1 }

# The link map: output sections at the left margin, input sections
# indented, a long section name alone on its line.
request == 0 && /^[^ ]/ {
  part_now = ""
  if ($1 ~ /^\.text(\.hotpath)?$/) part_now = "1-text"
  if ($1 ~ /^\.rodata(\.hotpath)?$/) part_now = "2-rodata"
  if ($1 ~ /^\.bss(\.hotpath)?$/) part_now = "3-bss"
  pending = ""
  next
}
request == 0 && part_now == "" { next }
request == 0 && /^ \.[^ ]+ +0x[0-9a-f]+ +0x[0-9a-f]+ +[^ ]/ { remember($1, $2, $3, $4); pending = ""; next }
request == 0 && /^ \.[^ ]+$/ { pending = $1; next }
request == 0 && pending != "" && /^ +0x[0-9a-f]+ +0x[0-9a-f]+ +[^ ]/ { remember(pending, $1, $2, $3); pending = ""; next }
request == 0 { next }

{
  k = find($1 + 0)
  if (k == 0) next
  if (part[k] == "1-text") code(request, name[k], origin[k])
  else if (name[k] ~ /\.(str|cst)[0-9]/) next
  else if (part[k] == "2-rodata" && length_of[k] > kLargeTable) emit(part[k], 8, pattern(name[k], origin[k]))
  else emit(part[k], request, pattern(name[k], origin[k]))
}

# What lackey cannot see: start-up code valgrind never runs. It gives the
# program no vDSO, whose symbols the C library looks up and records at start.
END {
  if (failed) exit 1
  if (count == 0) { print "hot-layout: no input sections in the map" > "/dev/stderr"; exit 1 }
  split("dl-object.o dl-setup_hash.o dl-lookup.o pthread_mutex_lock.o pthread_mutex_unlock.o", vdso, " ")
  for (i = 1; i in vdso; i++) {
    emit("1-text", 1, "*libc.a:" vdso[i] "(.text)")
    emit("2-rodata", 1, "*libc.a:" vdso[i] "(.rodata.str* .rodata.cst*)")
  }
}
