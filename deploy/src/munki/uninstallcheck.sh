#!/bin/sh
# include: made
#
# Munki's uninstallcheck_script: 0 means that there is something to remove, be it for a person who is not there.

# include: basics

# include: accounts

# include: users

if exists "$systemClient"; then exit 0; fi
for name in $(people); do
  home=$(home_of "$name")
  if exists "$home/Applications/$client" || exists "$home/Quillmark_Components"; then exit 0; fi
done
exit 1
