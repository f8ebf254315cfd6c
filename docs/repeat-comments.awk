# Functions that follow each other without a blank line share the comment above the first. For the
# reference each gets it.
/^\/\*\*/ { comment = ""; inside = 1 }
inside { comment = comment $0 "\n" }
inside && /\*\/$/ { inside = 0 }
/^$/ { comment = "" }
/^RLE_API/ && declared { printf "%s", comment }
{ print }
/^RLE_API/ { open = 1 }
open && /;$/ { declared = 1; open = 0; next }
!open { declared = 0 }
