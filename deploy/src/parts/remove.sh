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
