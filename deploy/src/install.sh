#!/bin/sh
# include: made
#
# Installs Quillmark for the person at the screen of this Mac, without a window. Runs as root.
#
# usage: install.sh [--team TEAM] [--partner PARTNER] [--from FOLDER]
#
# What is not given is taken from the lines below; what a profile sets needs no line and is stronger. Status:
#   0, 1, 3, 4, 5  the installation was run, and this is what check.sh finds (0: complete)
#   64  an identifier is missing or of the wrong form, an unknown option, not root
#   65  the home or the temporary folder has a blank or a shell character in its path
#   69  the installer, its components, this Mac's release name or the component for it is missing
#   70  the installer did not end within 300 seconds and has been ended
#   75  nobody is at the screen, or another installation is at work: try again later; nothing has been touched

# include: settings

# include: basics

# include: talk

# include: stop

# include: options

# include: accounts

# include: person

# include: identifiers

# include: distribution

# include: check

# include: lock

# include: install

read_options "$@"
install
