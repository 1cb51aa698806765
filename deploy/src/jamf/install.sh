#!/bin/sh
# include: made
#
# For a policy of Jamf Pro. Parameter 4 is the team's identifier, parameter 5 the partner's; where a profile sets them
# both stay empty. The status is that of install.sh, and only 0 means complete.

# include: settings

# include: basics

# include: talk

# include: stop

# include: accounts

# include: person

# include: identifiers

# include: distribution

# include: check

# include: lock

# include: install

# Jamf's own three come first: mount point, computer's name, user's name.
team=${4:-$team}
partner=${5:-$partner}
install
