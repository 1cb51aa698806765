#!/bin/sh
status='/Library/Application Support/Quillmark Installer/status'
[ -x "$status" ] || { echo not-installed; exit; }
"$status" --at-screen | sed -n '$s/verdict=//p'
