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
