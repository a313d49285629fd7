# Functions for bench/hot-layout.awk.
#
# The part of an Itanium-mangled symbol that names the entity, without its
# parameter types: "_ZN4orvo3cgi10CGIRequest5ParseEv" -> "_ZN4orvo3cgi10CGIRequest5ParseE".
# A local entity keeps its enclosing function's name and its own, with a
# wildcard for the function's parameters. "" when the name is not understood.
function mangled_source_name_end(text, at,    digits) {
  digits = substr(text, at)
  if (!match(digits, /^[0-9]+/)) return 0
  return at + RLENGTH + substr(digits, 1, RLENGTH)
}
# One past the end of the name (nested "N...E", or unscoped with its
# template arguments) that starts at `at`; 0 when not understood.
function mangled_name_end(text, at,    c, depth, nested) {
  if (substr(text, at, 1) == "L") at++
  if (substr(text, at, 2) == "St") at += 2
  depth = 0
  nested = substr(text, at, 1) == "N"
  if (nested) { depth = 1; at++ }
  do {
    c = substr(text, at, 1)
    if (c == "") return 0
    if (c ~ /[0-9]/) { at = mangled_source_name_end(text, at); if (!at) return 0 }
    else if (c == "B") { at = mangled_source_name_end(text, at + 1); if (!at) return 0 }
    else if (c == "L" && match(substr(text, at), /^L[a-z]n?[0-9]+E/)) at += RLENGTH
    else if (c == "L" && substr(text, at + 1, 1) ~ /[0-9]/) at++
    else if (c == "S" && match(substr(text, at), /^S[0-9A-Z]*_|^S[tabsiod]/)) at += RLENGTH
    else if (c == "T" && match(substr(text, at), /^T[0-9]*_/)) at += RLENGTH
    else if (c ~ /[CD]/ && substr(text, at + 1, 1) ~ /[0-9]/) at += 2
    else if (c == "c" && substr(text, at + 1, 1) == "v" && nested && depth == 1) {
      # A conversion operator to a built-in type ("cvb"); others are not read.
      if (substr(text, at + 2, 1) !~ /[a-z]/) return 0
      at += 3
    }
    else if (c ~ /[a-z]/ && nested && depth == 1) at += 2  # an operator's name
    else if (c ~ /[INLXJ]/) { depth++; at++ }
    else if (c == "E") { depth--; at++ }
    else at++
    # An unscoped name ends after its identifier and template arguments.
  } while (depth > 0 || substr(text, at, 1) == "I")
  return at
}
function entity_prefix(symbol,    base, clone, end, rest, entity) {
  base = symbol
  clone = sub(/\..*$/, "", base)
  # The guard variable of a local static follows its variable.
  if (base ~ /^_ZGVZ/) {
    entity = entity_prefix("_Z" substr(base, 5))
    return entity == "" ? "" : "_ZGV" substr(entity, 3) (clone ? "*" : "")
  }
  # Other special names (virtual tables, thunks) are kept whole.
  if (base !~ /^_Z([NZL0-9]|St)/) return ""
  if (base ~ /^_ZZ/) {
    # Local: Z <function> E <entity>: the function's name, any parameters, the entity.
    end = mangled_name_end(base, 4)
    if (!end) return ""
    rest = substr(base, end)
    if (!match(rest, /E[0-9]+[A-Za-z_].*$/)) return ""
    entity = substr(rest, RSTART)
    return substr(base, 1, end - 1) "*" entity (clone ? "*" : "")
  }
  end = mangled_name_end(base, 3)
  if (!end || end - 1 == length(base)) return ""
  return substr(base, 1, end - 1) "*"
}
