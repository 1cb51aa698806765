#!/bin/sh
# Made by tools/make-fleet-kit from deploy/src; a change belongs there.
#
# Removes Quillmark from this Mac, for all of its people. Runs as root.
#
# usage: remove.sh
#
# Prints what was removed, what could not be and what stays on purpose, one a line. Status:
#   0   nothing of it is left
#   64  an argument, not root
#   70  something could not be removed
#   75  an installation is at work, or the installer is open: try again later

set -u
PATH=/bin:/usr/bin:/sbin:/usr/sbin
export PATH
umask 022

client=Quillmark.app
systemClient=/Applications/$client

exists() { [ -e "$1" ] || [ -h "$1" ]; }

# The preference domain of the installer.
domain=com.quillmark.customInstaller

say() { printf 'quillmark: %s\n' "$*" >&2; }

is_root() { [ "$(id -u)" -eq 0 ]; }

# stop STATUS REASON
stop() {
  stopStatus=$1
  shift
  say "$*"
  exit "$stopStatus"
}

# dscl puts a value that holds a blank on a line of its own, after a blank.
home_of() {
  dscl /Search -read "/Users/$1" NFSHomeDirectory 2> /dev/null |
    sed -n -e 's/^NFSHomeDirectory: *//' -e 's/^ //' -e '/./p' | head -n 1
}

# The short names of the people of this Mac: the system's own accounts are below 501.
people() { dscl . -list /Users UniqueID | awk '$2 >= 501 { print $1 }'; }

lock=/var/run/$domain.lock

# Makes sure that nothing else of this kit is at work until this script ends, and that no installer is open: the
# installer has no lock of its own, and two at once leave an incomplete copy.
begin_alone() {
  if ! mkdir "$lock" 2> /dev/null; then
    [ -d "$lock" ] || stop 70 "$lock cannot be made"
    take_over_lock || stop 75 'another installation or removal is at work'
  fi
  trap 'rm -rf "$lock"' EXIT
  trap 'exit 129' HUP
  trap 'exit 130' INT
  trap 'exit 143' TERM
  echo $$ > "$lock/owner"
  ! installer_is_open || stop 75 'the installer is open; it has to be quit first'
}

# A lock is stale when its owner has gone, or after an hour, should another process have got the owner's number.
take_over_lock() {
  owner=$(cat "$lock/owner" 2> /dev/null)
  if [ -z "$(find "$lock" -prune -mmin +60)" ]; then
    if [ -z "$owner" ] || kill -0 "$owner" 2> /dev/null; then return 1; fi
  fi
  # Of several that find the same stale lock one takes it, and only as long as nobody else has.
  mkdir "$lock/after-$owner" 2> /dev/null && [ "$(cat "$lock/owner" 2> /dev/null)" = "$owner" ]
}

installer_is_open() {
  ps -A -ww -o comm= |
    awk '/\/Quillmark Installer\.app\/Contents\/MacOS\/Quillmark Installer$/ { open = 1 } END { exit !open }'
}

vpnFiles='ca.crt client.crt client.key client.ovpn login.conf ta.key'

helper=com.quillmark.customInstaller.Helper
status=0

remove_everything() {
  is_root || stop 64 'run this as root'
  begin_alone
  remove_helper
  for item in "$systemClient" "/Applications/.$client.new" "/Applications/.$client.old"; do
    if exists "$item"; then
      rm -rf "$item"
      tell "$item"
    fi
  done
  for name in $(people); do
    remove_from_home_of "$name"
  done
  remove_defaults "/Library/Preferences/$domain" "/Library/Preferences/$domain"
  tell_what_stays
  return $status
}

tell() {
  if exists "$1"; then
    echo "failed=$1"
    status=70
  else
    echo "removed=$1"
  fi
}

remove_helper() {
  if launchctl print "system/$helper" > /dev/null 2>&1; then
    if launchctl bootout "system/$helper"; then
      echo "removed=job $helper"
    else
      echo "failed=job $helper"
      status=70
    fi
  fi
  for item in "/Library/LaunchDaemons/$helper.plist" "/Library/PrivilegedHelperTools/$helper"; do
    if exists "$item"; then
      rm -f "$item"
      tell "$item"
    fi
  done
}

remove_from_home_of() {
  home=$(home_of "$1")
  [ -d "$home" ] || return 0
  remove_as "$1" "$home/Applications/$client"
  remove_as "$1" "$home/Quillmark_Components"
  temporary=$(sudo -H -u "$1" getconf DARWIN_USER_TEMP_DIR)
  if [ -n "$temporary" ]; then
    remove_temporary_copies "$1" "${temporary%/}"
  fi
  remove_defaults "$1's $domain" "$domain" sudo -H -u "$1"
}

# As the user, for a link in a home may lead anywhere.
remove_as() {
  if exists "$2"; then
    sudo -H -u "$1" rm -rf "$2"
    tell "$2"
  fi
}

# What an installation through the helper has gathered has names that others use too: it is the installer's if the
# client lies beside it.
remove_temporary_copies() {
  if exists "$2/$client"; then
    for item in client.up.tunnelblick.sh client.down.tunnelblick.sh $vpnFiles "$client"; do
      remove_as "$1" "$2/$item"
    done
  fi
  remove_as "$1" "$2/QuillmarkGuard"
}

# remove_defaults WHAT DOMAIN [COMMAND ...], with the command that makes it somebody's
remove_defaults() {
  what=$1 their=$2
  shift 2
  if "$@" defaults read "$their" > /dev/null 2>&1; then
    if "$@" defaults delete "$their"; then
      echo "removed=defaults $what"
    else
      echo "failed=defaults $what"
      status=70
    fi
  fi
}

tell_what_stays() {
  for right in install startWebService2; do
    echo "kept=authorization right com.example.apple-samplecode.EBAS.$right, which other programs may own"
  done
  for profile in "/Library/Managed Preferences/$domain.plist" "/Library/Managed Preferences"/*/"$domain.plist"; do
    if [ -e "$profile" ]; then
      echo "kept=profile $profile, with which every later start of the installer is a managed one"
    fi
  done
}

[ $# -eq 0 ] || stop 64 "'$1' is not known; there are no options"
remove_everything
