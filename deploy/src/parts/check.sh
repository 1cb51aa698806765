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
