#!/bin/sh
# include: made
#
# Removes Quillmark from this Mac, for all of its people. Runs as root.
#
# usage: remove.sh
#
# Prints what was removed, what could not be and what stays on purpose, one a line. Status:
#   0   nothing of it is left
#   64  an argument, not root
#   70  something could not be removed
#   75  an installation is at work, or the installer is open: try again later

# include: basics

# include: talk

# include: stop

# include: accounts

# include: users

# include: lock

# include: vpn-files

# include: remove

[ $# -eq 0 ] || stop 64 "'$1' is not known; there are no options"
remove_everything
