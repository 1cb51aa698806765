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
