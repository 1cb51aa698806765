#!/bin/sh
# include: made
#
# An extension attribute of Jamf Pro, data type String: complete, not-installed, incomplete, other-identifiers,
# other-version, or nobody while nobody is at the screen.

# include: settings

# include: basics

# include: talk

# include: accounts

# include: person

# include: identifiers

# include: distribution

# include: check

echo "<result>$(report | sed -n 's/^verdict=//p')</result>"
