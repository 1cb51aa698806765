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
