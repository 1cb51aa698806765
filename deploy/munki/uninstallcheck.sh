#!/bin/sh
# Made by tools/make-fleet-kit from deploy/src; a change belongs there.
#
# Munki's uninstallcheck_script: 0 means that there is something to remove, be it for a person who is not there.

set -u
PATH=/bin:/usr/bin:/sbin:/usr/sbin
export PATH
umask 022

client=Quillmark.app
systemClient=/Applications/$client

exists() { [ -e "$1" ] || [ -h "$1" ]; }

# dscl puts a value that holds a blank on a line of its own, after a blank.
home_of() {
  dscl /Search -read "/Users/$1" NFSHomeDirectory 2> /dev/null |
    sed -n -e 's/^NFSHomeDirectory: *//' -e 's/^ //' -e '/./p' | head -n 1
}

# The short names of the people of this Mac: the system's own accounts are below 501.
people() { dscl . -list /Users UniqueID | awk '$2 >= 501 { print $1 }'; }

if exists "$systemClient"; then exit 0; fi
for name in $(people); do
  home=$(home_of "$name")
  if exists "$home/Applications/$client" || exists "$home/Quillmark_Components"; then exit 0; fi
done
exit 1
