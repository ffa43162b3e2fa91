# Turns the comments of our headers into those that Doxygen reads: the block at the top is the
# file's, one above a declaration that declaration's, and one behind a member that member's. Text is
# taken as it stands: nothing in it is a command, a tag or a link.
function plain(text) {
  gsub(/[\\@<>&#%"]/, "\\\\&", text)
  return text
}
NR == 1 && /^\/\// { print "/// \\file"; top = 1 }
top && !/^\/\// { top = 0; print "" }
match($0, /^ *\/\/( |$)/) {
  print substr($0, 1, RLENGTH - (substr($0, RLENGTH, 1) == " ")) "/ " plain(substr($0, RLENGTH + 1))
  next
}
match($0, /[;,] +\/\/ /) {
  print substr($0, 1, RSTART) " ///< " plain(substr($0, RSTART + RLENGTH))
  next
}
{ print }
