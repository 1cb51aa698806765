# The preference domain of the installer.
domain=com.quillmark.customInstaller

say() { printf 'quillmark: %s\n' "$*" >&2; }

is_root() { [ "$(id -u)" -eq 0 ]; }
