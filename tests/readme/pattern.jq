# Compares a JSON answer with a pattern: the answer's shape, with the values
# that never vary. In a pattern "<string>", "<number>", "<boolean>", "<null>",
# "<object>", "<array>" stand for any value of that type and "<any>" for any
# value at all; an object has exactly the pattern's keys, each value matching;
# [P] is a list, not empty, of values that all match P; [] an empty list; a
# list of two or more patterns matches one value each; any other value stands
# for itself. "<=NAME>" stands for the pattern of that name in $named, and
# {"<=":"NAME",...} for that pattern with the members given merged into it
# (objects member by member). Prints one line for each difference, nothing
# when it matches.
#   jq -r --arg mode check --argjson pattern P --argjson named '{"NAME":P,...}' -f pattern.jq
#   jq -r --arg mode shape --argjson pattern null --argjson named {} -f pattern.jq  (a shape)

def placeholder: type == "string" and test("^<(string|number|boolean|null|object|array|any)>$");

def where($at): if $at == "" then "the answer" else $at end;
def article: if test("^[aeiou]") then "an \(.)" else "a \(.)" end;

def differences($p; $at):
  if ($p | type) == "string" and ($p | test("^<=[A-Za-z0-9_-]+>$")) then
    differences({"<=": ($p | .[2:-1])}; $at)
  elif ($p | type) == "object" and ($p | has("<=")) then
    if ($named | has($p["<="])) then differences($named[$p["<="]] * ($p | del(.["<="])); $at)
    else "\(where($at)): no pattern is named \($p["<="])" end
  elif ($p | placeholder) then
    ($p | .[1:-1]) as $t
    | if $t == "any" or type == $t then empty else "\(where($at)): \(type | article), not \($t | article)" end
  elif ($p | type) == "object" then
    if type != "object" then "\(where($at)): \(type | article), not an object"
    else
      . as $value
      | (($p | keys) - keys | .[] | "\($at).\(.): missing"),
        (keys - ($p | keys) | .[] | "\($at).\(.): not expected"),
        (keys - (keys - ($p | keys)) | .[] as $k | $value[$k] | differences($p[$k]; "\($at).\($k)"))
    end
  elif ($p | type) == "array" then
    if type != "array" then "\(where($at)): \(type | article), not a list"
    elif ($p | length) == 0 then (if length == 0 then empty else "\(where($at)): \(length) items, not none" end)
    elif ($p | length) == 1 then
      if length == 0 then "\(where($at)): an empty list"
      else to_entries[] | .key as $i | .value | differences($p[0]; "\($at)[\($i)]") end
    elif length != ($p | length) then "\(where($at)): \(length) items, not \($p | length)"
    else to_entries[] | .key as $i | .value | differences($p[$i]; "\($at)[\($i)]")
    end
  elif . == $p then empty
  else "\(where($at)): \(tojson), not \($p | tojson)"
  end;

# The pattern that matches an answer by its types alone, for writing one.
def shape:
  if type == "object" then map_values(shape)
  elif type == "array" then (if length == 0 then [] else [.[0] | shape] end)
  else "<\(type)>"
  end;

# JSON over lines of at most about 100 characters: an object too long for
# its line has its members on lines of their own, as many a line as fit.
def lines($indent):
  if type != "object" or (tojson | length) + ($indent | length) <= 100 then tojson
  else
    reduce (to_entries[] | "\(.key | tojson):" + (.value | lines($indent + " "))) as $member ([];
      if length > 0 and ($member | contains("\n") | not) and (.[-1] | contains("\n") | not)
         and (.[-1] + $member | length) + ($indent | length) < 100
      then .[-1] += "," + $member
      else . + [$member] end)
    | "{" + join(",\n" + $indent + " ") + "}"
  end;

if $mode == "shape" then shape | lines("") else differences($pattern; "") end
