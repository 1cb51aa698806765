#!/bin/sh
# include: made
#
# Munki's uninstall_script: what remove.sh does, and the installer itself, which Munki has copied to this Mac.

# include: basics

# include: talk

# include: stop

# include: accounts

# include: users

# include: lock

# include: vpn-files

# include: remove

remove_everything
fleetCopy='/Library/Application Support/Quillmark Installer'
if exists "$fleetCopy"; then
  rm -rf "$fleetCopy"
  tell "$fleetCopy"
fi
exit $status
