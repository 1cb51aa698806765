# dscl puts a value that holds a blank on a line of its own, after a blank.
home_of() {
  dscl /Search -read "/Users/$1" NFSHomeDirectory 2> /dev/null |
    sed -n -e 's/^NFSHomeDirectory: *//' -e 's/^ //' -e '/./p' | head -n 1
}
