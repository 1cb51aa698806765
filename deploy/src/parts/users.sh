# The short names of the people of this Mac: the system's own accounts are below 501.
people() { dscl . -list /Users UniqueID | awk '$2 >= 501 { print $1 }'; }
