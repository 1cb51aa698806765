set -u
PATH=/bin:/usr/bin:/sbin:/usr/sbin
export PATH
umask 022

client=Quillmark.app
systemClient=/Applications/$client

exists() { [ -e "$1" ] || [ -h "$1" ]; }
