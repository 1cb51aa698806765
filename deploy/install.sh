#!/bin/sh
# Made by tools/make-fleet-kit from deploy/src; a change belongs there.
#
# Installs Quillmark for the person at the screen of this Mac, without a window. Runs as root.
#
# usage: install.sh [--team TEAM] [--partner PARTNER] [--from FOLDER]
#
# What is not given is taken from the lines below; what a profile sets needs no line and is stronger. Status:
#   0, 1, 3, 4, 5  the installation was run, and this is what check.sh finds (0: complete)
#   64  an identifier is missing or of the wrong form, an unknown option, not root
#   65  the home or the temporary folder has a blank or a shell character in its path
#   69  the installer, its components, this Mac's release name or the component for it is missing
#   70  the installer did not end within 300 seconds and has been ended
#   75  nobody is at the screen, or another installation is at work: try again later; nothing has been touched

# The two identifiers, where no profile sets them.
team=''
partner=''
# The folder that holds "Quillmark Installer.app" and, beside it, "components".
distribution='/Library/Application Support/Quillmark Installer'

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

read_options() {
  while [ $# -gt 0 ]; do
    case $1 in
      --team | --partner | --from) [ $# -ge 2 ] || stop 64 "$1 needs a value" ;;
      *) stop 64 "'$1' is not known; usage: [--team TEAM] [--partner PARTNER] [--from FOLDER]" ;;
    esac
    [ -n "$2" ] || stop 64 "$1 needs a value that is not empty"
    case $1 in
      --team) team=$2 ;;
      --partner) partner=$2 ;;
      --from) distribution=$2 ;;
    esac
    shift 2
  done
}

# dscl puts a value that holds a blank on a line of its own, after a blank.
home_of() {
  dscl /Search -read "/Users/$1" NFSHomeDirectory 2> /dev/null |
    sed -n -e 's/^NFSHomeDirectory: *//' -e 's/^ //' -e '/./p' | head -n 1
}

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

# What the installer would write into its marker file as it stands. The letters are spelt out: a range such as A-Z holds
# accented ones too in some languages.
is_identifier() {
  case $1 in
    '' | [._-]*) return 1 ;;
    *[!ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-]*) return 1 ;;
  esac
  [ ${#1} -le 64 ]
}

# Finds the two identifiers that the installer will see (team, partner) and where they come from (teamFrom, partnerFrom:
# profile, argument, defaults or none). What a profile forces is stronger than a launch argument.
find_identifiers() {
  find_identifier teamID "$team"
  team=$value teamFrom=$from
  find_identifier partnerID "$partner"
  partner=$value partnerFrom=$from
}

find_identifier() {
  if value=$(forced_by_profile "$1"); then
    from=profile
  elif [ -n "$2" ]; then
    value=$2 from=argument
  elif value=$(set_in_defaults "$1"); then
    from=defaults
  else
    value='' from=none
  fi
}

forced_by_profile() {
  defaults read "/Library/Managed Preferences/$user/$domain" "$1" 2> /dev/null ||
    defaults read "/Library/Managed Preferences/$domain" "$1" 2> /dev/null
}

set_in_defaults() {
  as_user defaults read "$domain" "$1" 2> /dev/null || defaults read "/Library/Preferences/$domain" "$1" 2> /dev/null
}

licence='/System/Library/CoreServices/Setup Assistant.app/Contents/Resources/en.lproj/OSXSoftwareLicense.rtf'

find_distribution() {
  payload="$distribution/Quillmark Installer.app/Contents/Resources"
  components="$distribution/components"
}

# Prints the name of the component for this Mac, found as the installer finds it; fails where the installer would.
component_of_this_mac() {
  release=$(awk '/SOFTWARE LICENSE AGREEMENT FOR macOS/' "$licence" 2> /dev/null | awk -F 'macOS ' '{ print $NF }' |
    awk '{ print substr($0, 1, length($0) - 1) }')
  case $release in
    '') return 1 ;;
    'Big Sur' | Monterey) if [ "$(uname -m)" = x86_64 ]; then echo osIntel; else echo osM1; fi ;;
    *) printf '%s\n' "$release" ;;
  esac
}

same_contents() { diff -r -q "$1" "$2" > /dev/null 2>&1; }

# Prints what is installed for the person at the screen, a key and its value a line; answers with the verdict's status.
report() {
  if ! is_root; then
    say 'run this as root'
    say_verdict wrong-use 64
  elif ! find_person; then
    echo 'user=(none)'
    say_verdict nobody 75
  else
    find_identifiers
    look
    print_findings
    judge
  fi
}

say_verdict() {
  echo "verdict=$1"
  return "$2"
}

look() {
  find_distribution
  staging=$home/Quillmark_Components
  userClient=$home/Applications/$client
  systemClientState=$(state_of_client "$systemClient")
  userClientState=$(state_of_client "$userClient")
  look_at_marker
  scriptsState=$(state_of_scripts)
  expectedComponent=$(component_of_this_mac) || expectedComponent='(none)'
  stagedComponent=$(name_of_staged_component)
}

# absent; incomplete, when it cannot be opened or lacks a part; other, when its version or contents are not those of the
# installer's client; complete; or present, when there is no installer to compare it with.
state_of_client() {
  if ! exists "$1"; then
    echo absent
  elif ! has_program "$1"; then
    echo incomplete
  elif [ ! -d "$payload/$client" ]; then
    echo present
  elif same_contents "$payload/$client" "$1"; then
    echo complete
  elif [ "$(version_of "$payload/$client")" = "$(version_of "$1")" ] && lacks_a_part "$1"; then
    echo incomplete
  else
    echo other
  fi
}

has_program() {
  name=$(information "$1" CFBundleExecutable) && [ -x "$1/Contents/MacOS/$name" ]
}

# A value of a bundle's Info.plist. What lies in a home may be a pipe, which would never be read to its end.
information() { [ -f "$1/Contents/Info.plist" ] && defaults read "$1/Contents/Info" "$2" 2> /dev/null; }

lacks_a_part() { diff -r -q "$payload/$client" "$1" 2> /dev/null | grep -q -F "Only in $payload/$client"; }

version_of() {
  for key in CFBundleShortVersionString CFBundleVersion; do
    if version=$(information "$1" "$key"); then
      shown "$version"
      return
    fi
  done
  echo '(none)'
}

# What stands in a user's own files is printed only if it can neither break a line nor a tag.
shown() {
  if [ -z "$1" ]; then
    echo '(none)'
  elif is_identifier "$1"; then
    printf '%s\n' "$1"
  else
    echo '(invalid)'
  fi
}

# The marker file's kind (marker: absent, Device, Rmm or other) and its identifiers.
look_at_marker() {
  marker=absent markerTeam='' markerPartner=''
  file=$staging/installationHelper.txt
  exists "$file" || return 0
  marker=other
  if [ ! -f "$file" ] || [ -h "$file" ]; then return 0; fi
  markerPartner=$(LC_ALL=C sed -n 2p "$file")
  markerTeam=$(LC_ALL=C sed -n 3p "$file")
  if printf 'Rmm\n%s\n%s\nyes' "$markerPartner" "$markerTeam" | cmp -s - "$file"; then
    marker=Rmm
  else
    markerTeam='' markerPartner=''
    if printf 'Device\nyes' | cmp -s - "$file"; then marker=Device; fi
  fi
}

state_of_scripts() {
  state=complete
  for script in client.up.tunnelblick.sh client.down.tunnelblick.sh; do
    if [ ! -f "$staging/$script" ]; then
      echo absent
      return
    elif [ ! -f "$payload/$script" ]; then
      state=present
    elif ! same_contents "$payload/$script" "$staging/$script"; then
      state=other
    fi
  done
  echo $state
}

# Which of the components has been staged: its name; absent; other, when it is none of them; or present, when there are
# none to compare it with.
name_of_staged_component() {
  staged=$staging/QuillmarkGuard
  if ! exists "$staged"; then
    echo absent
    return
  fi
  state=present
  # The expected one first: two of them may be the same.
  for folder in "$components/WGComponents/$expectedComponent" "$components"/WGComponents/*; do
    if [ -e "$folder/QuillmarkGuard" ]; then
      state=other
      if same_contents "$folder/QuillmarkGuard" "$staged"; then
        basename "$folder"
        return
      fi
    fi
  done
  echo $state
}

print_findings() {
  echo "user=$user"
  if is_administrator; then echo administrator=yes; else echo administrator=no; fi
  echo "team=$(shown "$team")"
  echo "team_from=$teamFrom"
  echo "partner=$(shown "$partner")"
  echo "partner_from=$partnerFrom"
  echo "marker=$marker"
  echo "marker_team=$(shown "$markerTeam")"
  echo "marker_partner=$(shown "$markerPartner")"
  echo "installer_version=$(version_of "$payload/$client")"
  echo "system_client=$systemClientState"
  echo "system_client_version=$(version_of "$systemClient")"
  echo "user_client=$userClientState"
  echo "user_client_version=$(version_of "$userClient")"
  echo "scripts=$scriptsState"
  echo "component=$stagedComponent"
  echo "component_expected=$expectedComponent"
}

judge() {
  if [ "$systemClientState $userClientState" = 'absent absent' ] && ! exists "$staging"; then
    say_verdict not-installed 1
    return
  fi
  case " $systemClientState $userClientState $marker $scriptsState $stagedComponent " in
    *' absent '* | *' incomplete '*)
      say_verdict incomplete 3
      return
      ;;
  esac
  if ! is_marker_as_wanted; then
    say_verdict other-identifiers 4
    return
  fi
  case " $systemClientState $userClientState $scriptsState " in
    *' other '*)
      say_verdict other-version 5
      return
      ;;
  esac
  case $stagedComponent in
    present | "$expectedComponent") say_verdict complete 0 ;;
    *) say_verdict other-version 5 ;;
  esac
}

# Without identifiers in force either kind of installation will do.
is_marker_as_wanted() {
  if [ "$teamFrom" = none ] || [ "$partnerFrom" = none ]; then
    [ "$marker" != other ]
  else
    [ "$marker $markerTeam $markerPartner" = "Rmm $team $partner" ]
  fi
}

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

read_options "$@"
install
