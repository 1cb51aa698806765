# Finds who is at the screen (user, uid, home); fails at the login window and in Setup Assistant.
find_person() {
  user=$(printf 'show State:/Users/ConsoleUser\n' | scutil | sed -n 's/^  Name : //p')
  case $user in
    '' | root | loginwindow | _mbsetupuser) return 1 ;;
  esac
  uid=$(id -u "$user" 2> /dev/null) || return 1
  home=$(home_of "$user")
}

# 80 is the group "admin".
is_administrator() {
  case " $(id -G "$user") " in
    *' 80 '*) return 0 ;;
  esac
  return 1
}

# Runs a command as the user, in the user's own session, where there is a window server.
as_user() { launchctl asuser "$uid" sudo -H -u "$user" "$@"; }
