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
