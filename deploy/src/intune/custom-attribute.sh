#!/bin/sh
# include: made
#
# A custom attribute of Intune, data type String: the verdict, and then what check.sh finds, all on one line.

# include: settings

# include: basics

# include: talk

# include: accounts

# include: person

# include: identifiers

# include: distribution

# include: check

report | awk '
  /^verdict=/ { verdict = substr($0, 9); next }
  { findings = findings "; " $0 }
  END { print verdict findings }'
