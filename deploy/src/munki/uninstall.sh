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

# include: remove

remove_everything
rm -rf '/Library/Application Support/Quillmark Installer'
tell '/Library/Application Support/Quillmark Installer'
exit $status
