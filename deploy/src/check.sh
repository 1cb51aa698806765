#!/bin/sh
# include: made
#
# Tells what is installed for the person at the screen of this Mac, a key and its value a line. Runs as root.
#
# usage: check.sh [--team TEAM] [--partner PARTNER] [--from FOLDER]
#
# What is not given is taken from the lines below; what a profile sets needs no line and is stronger. Status:
#   0   complete
#   1   not installed
#   3   incomplete: something is missing
#   4   installed by hand, or with other identifiers
#   5   another version, or other contents
#   64  an unknown option, not root
#   75  nobody is at the screen

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

read_options "$@"
report
