# stop STATUS REASON
stop() {
  stopStatus=$1
  shift
  say "$*"
  exit "$stopStatus"
}
