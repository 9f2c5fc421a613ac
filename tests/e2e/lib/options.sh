# shellcheck shell=bash
# The option words that the help screen, the manual page and the completion
# each know, one a line, sorted: the three must not drift apart.

# help_options BINARY: "-v --verbose ..." lines and "   --ssl ..." lines of the help screen
help_options() {
  "$1" --help | sed -nE 's/^(-[A-Za-z]) (--[a-z0-9-]+).*/\1\n\2/p; s/^   (--[a-z0-9-]+).*/\1/p' | sort -u
}

# man_options PAGE: the tags of the OPTIONS section, as man renders them
man_options() {
  MANWIDTH=200 man -l "$1" 2>/dev/null | col -bx | sed -n '/^OPTIONS$/,/^EXIT STATUS$/p' \
    | grep -E '^ {7}-' | grep -oE -- '(^|[ ,])--?[A-Za-z][A-Za-z0-9-]*' | tr -d ' ,' | sort -u
}

# completion_options FILE: what the completion offers after a lone "-"
completion_options() {
  bash -c '. "$1"; COMP_WORDS=(quorle -); COMP_CWORD=1; COMP_LINE="quorle -"; COMP_POINT=8
           _quorle; printf "%s\n" "${COMPREPLY[@]}"' _ "$1" | sort -u
}
