# Reads the benches' logs, then bench/aims.txt, and prints the table of figures, floors, aims and verdicts.

function base(path) {
  sub(/.*\//, "", path)
  sub(/\.log$/, "", path)
  return path
}

# Counters are printed with a suffix for thousands and more.
function number(text) {
  return text * (text ~ /k(\/s)?$/ ? 1e3 : text ~ /M(\/s)?$/ ? 1e6 : text ~ /G(\/s)?$/ ? 1e9 : 1)
}

function shown(value) {
  return value == "" ? "" : sprintf(value < 10 ? "%.2f" : "%.0f", value)
}

FILENAME !~ /aims\.txt$/ {
  if (!match($0, /  +[0-9.]+ (ns|us|ms|s) /)) next
  name = substr($0, 1, RSTART - 1)
  sub(/\/(iterations|real_time|manual_time).*/, "", name)
  key = base(FILENAME) "|" name "|"
  rest = substr($0, RSTART)
  split(rest, words)
  figure[key "time"] = words[1]
  for (i = 1; i in words; ++i)
    if (split(words[i], pair, "=") == 2) figure[key pair[1]] = number(pair[2])
  next
}

/^#/ || NF == 0 { next }

{
  if (!begun++) print "| Bench | Case | Figure | Floor | Ratio | Aim | Verdict |\n|---|---|---|---|---|---|---|"
  split($0, field, / \| /)
  key = field[1] "|" field[2] "|"
  if (!((key field[3]) in figure)) next  # filtered out
  value = figure[key field[3]]
  floor = ratio = ""
  if (field[4] != "-")
    floor = (key field[4]) in figure ? figure[key field[4]] : figure[field[1] "|" field[4] "|" field[3]]
  if (floor > 0) ratio = value / floor
  compared = field[5] ~ /\+/ ? value - floor : floor == "" ? value : ratio
  bound = field[5]
  gsub(/[<>=+]/, "", bound)
  met = field[5] ~ /^>/ ? compared >= bound + 0 : compared <= bound + 0
  printf "| %s | %s, %s | %s | %s | %s | %s | %s |\n", field[1], field[2], field[3], shown(value), shown(floor), shown(ratio),
    field[5], met ? "met" : "missed"
}
