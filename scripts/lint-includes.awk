# Reads the table of folders in docs/architecture.md, then sources; prints every include of a file of ours
# that the table does not allow. Run by scripts/lint.

# "`a/`, `b/IRk*.h`" as one regular expression that matches the paths it names.
function as_pattern(cell,    pattern, text) {
  pattern = ""
  while (match(cell, /`[^`]+`/)) {
    text = substr(cell, RSTART + 1, RLENGTH - 2)
    cell = substr(cell, RSTART + RLENGTH)
    gsub(/\./, "\\.", text)
    gsub(/\*/, "[^/]*", text)
    pattern = pattern "|^" text (text ~ /\/$/ ? "" : "$")
  }
  return substr(pattern, 2)
}

# The longest folder of the table that holds the file; "" for tests, benches and examples.
function folder_of(path,    folder) {
  for (folder = path; sub(/[^\/]*\/?$/, "", folder) && folder != "";) {
    if (folder in allowed) return folder
    sub(/\/$/, "", folder)
  }
  return ""
}

FILENAME ~ /\.md$/ {
  if (split($0, cell, /[[:space:]]*\|[[:space:]]*/) >= 4 && cell[2] ~ /^`[^`]+\/`$/ && cell[4] ~ /`|nothing of ours/) {
    folder = substr(cell[2], 2, length(cell[2]) - 2)
    allowed[folder] = as_pattern(cell[4])
    ++rows
  }
  next
}

FNR == 1 { folder = folder_of(FILENAME) }

/^[[:space:]]*#[[:space:]]*include[[:space:]]*"/ && folder != "" {
  split($0, part, "\"")
  included = part[2]
  if (index(included, folder) == 1) next
  if (allowed[folder] != "" && included ~ allowed[folder]) next
  printf "%s:%d: %s may not include \"%s\"\n", FILENAME, FNR, folder, included
}

END {
  if (rows < 10) print "docs/architecture.md: the table of folders has only " rows + 0 " rows"
}
