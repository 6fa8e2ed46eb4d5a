# Prints a source file with a mutation in it: mutate.awk MUTATION SOURCE. The mutation's text after "find:" must
# occur exactly once in the source; the text after "put:" takes its place. Trailing blank lines of both do not
# count. Says what is wrong on the standard error and exits with 1 otherwise.
function fail(message) {
  print "mutate.awk: " ARGV[1] ": " message > "/dev/stderr"
  failed = 1
  exit 1
}
NR == FNR && /^(find|put):$/ { part = substr($0, 1, length($0) - 1); next }
NR == FNR { if (part != "") text[part] = text[part] $0 "\n"; next }
{ source = source $0 "\n" }
END {
  if (failed) exit 1
  sub(/\n+$/, "", text["find"])
  sub(/\n+$/, "", text["put"])
  if (text["find"] == "") fail("it has no text to find")
  at = index(source, text["find"])
  if (at == 0) fail("the text to find does not occur in " ARGV[2])
  rest = substr(source, at + length(text["find"]))
  if (index(rest, text["find"]) > 0) fail("the text to find occurs twice in " ARGV[2])
  printf "%s%s%s", substr(source, 1, at - 1), text["put"], rest
}
