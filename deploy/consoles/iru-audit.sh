#!/bin/sh
exec '/Library/Application Support/Quillmark Installer/status' --at-screen
