#!/bin/sh
# include: made
#
# Kandji's audit script: 1 means that an installation is needed. While nobody is at the screen none is possible.

# include: settings

# include: basics

# include: talk

# include: accounts

# include: person

# include: identifiers

# include: distribution

# include: check

report
case $? in
  0 | 75) exit 0 ;;
esac
exit 1
