limitInSeconds=300
installer=''

install() {
  is_root || stop 64 'run this as root'
  check_given "$team" 'the team'
  check_given "$partner" 'the partner'
  find_person || stop 75 'nobody is at the screen'
  find_identifiers
  check_in_force "$team" 'the team' "$teamFrom"
  check_in_force "$partner" 'the partner' "$partnerFrom"
  check_paths
  find_distribution
  program="$distribution/Quillmark Installer.app/Contents/MacOS/Quillmark Installer"
  check_distribution
  begin_alone
  trap 'end_installer; rm -rf "$lock"' EXIT
  make_user_applications
  run_installer
  complete_system_client
  look
  print_findings
  judge
}

check_given() {
  if [ -n "$1" ] && ! is_identifier "$1"; then
    stop 64 "$2's identifier '$1' is not of the form ^[A-Za-z0-9][A-Za-z0-9._-]{0,63}\$"
  fi
}

check_in_force() {
  [ "$3" != none ] || stop 64 "$2's identifier is neither given nor set by a profile"
  is_identifier "$1" ||
    stop 64 "$2's identifier in the $3 is not of the form ^[A-Za-z0-9][A-Za-z0-9._-]{0,63}\$"
}

# The installer stages its component by a line of the shell that holds both paths without quotes.
check_paths() {
  [ -d "$home" ] || stop 69 "the home folder '$home' is not there"
  temporary=$(as_user getconf DARWIN_USER_TEMP_DIR)
  [ -n "$temporary" ] || stop 69 "the system does not tell the temporary folder of $user"
  for path in "$home" "$temporary"; do
    if ! survives_shell "$path"; then
      stop 65 "the installer cannot work with the blank or shell character in '$path'"
    fi
  done
}

survives_shell() {
  case $1 in
    *[[:space:]]* | *[[:cntrl:]]*) return 1 ;;
    *'"'* | *"'"* | *'`'* | *\\* | *'$'* | *'&'* | *';'* | *'|'* | *'<'* | *'>'*) return 1 ;;
    *'*'* | *'?'* | *'['* | *']'* | *'('* | *')'* | *'{'* | *'}'*) return 1 ;;
  esac
}

# Without its components the installer would wait in an alert that nobody sees. Without this Mac's release name its
# installation ends half-way, and without the component the client cannot connect.
check_distribution() {
  for item in "$program" "$payload/$client" "$payload/client.up.tunnelblick.sh" "$payload/client.down.tunnelblick.sh" \
    "$components"; do
    [ -e "$item" ] || stop 69 "'$item' is not there"
  done
  expectedComponent=$(component_of_this_mac) || stop 69 "'$licence' does not name this Mac's release"
  [ -e "$components/WGComponents/$expectedComponent/QuillmarkGuard" ] ||
    stop 69 "there is no component for this Mac: '$components/WGComponents/$expectedComponent/QuillmarkGuard'"
}

# The installer copies the client into this folder, but does not make it.
make_user_applications() {
  [ -d "$home/Applications" ] || as_user mkdir "$home/Applications" || say "'$home/Applications' cannot be made"
}

run_installer() {
  set --
  if [ "$teamFrom" = argument ]; then set -- "$@" -teamID "$team"; fi
  if [ "$partnerFrom" = argument ]; then set -- "$@" -partnerID "$partner"; fi
  launchctl asuser "$uid" sudo -H -u "$user" "$program" "$@" < /dev/null &
  installer=$!
  seconds=0
  while kill -0 "$installer" 2> /dev/null; do
    if [ $seconds -ge $limitInSeconds ]; then
      end_installer
      stop 70 "the installer did not end within $limitInSeconds seconds and has been ended"
    fi
    sleep 1
    seconds=$((seconds + 1))
  done
  installer=''
}

# Ends what run_installer started, all of it: sudo does not hand every signal on.
end_installer() {
  [ -n "$installer" ] || return 0
  processes=$(processes_from "$installer")
  signal_all TERM
  tries=10
  while [ "$tries" -gt 0 ] && signal_all 0; do
    sleep 1
    tries=$((tries - 1))
  done
  signal_all KILL
  installer=''
}

# The process and all that descend from it.
processes_from() {
  ps -A -o pid= -o ppid= | awk -v first="$1" '
    { parent[$1] = $2 }
    END {
      for (process in parent) {
        for (p = process; p + 0 > 1 && p != first && p in parent; ) p = parent[p]
        if (p == first) print process
      }
    }'
}

# Fails when none of them is there any more.
signal_all() {
  reached=1
  for process in $processes; do
    if kill -s "$1" "$process" 2> /dev/null; then reached=0; fi
  done
  return "$reached"
}

# A user who is no administrator cannot write to /Applications, and an administrator cannot replace what belongs to
# root.
complete_system_client() {
  if same_contents "$payload/$client" "$systemClient"; then return; fi
  new=/Applications/.$client.new old=/Applications/.$client.old
  rm -rf "$new" "$old"
  if ! cp -R -P -p "$payload/$client" "$new" || ! chown -R -h 0:0 "$new"; then
    rm -rf "$new"
    say "the client cannot be copied into /Applications"
    return
  fi
  # Renamed onto a folder the new client would end up inside the old one.
  if exists "$systemClient" && ! mv "$systemClient" "$old"; then
    rm -rf "$new"
    say "'$systemClient' cannot be replaced"
    return
  fi
  if mv "$new" "$systemClient"; then
    rm -rf "$old"
  else
    say "'$systemClient' cannot be replaced"
    rm -rf "$new"
    if exists "$old"; then mv "$old" "$systemClient"; fi
  fi
}
