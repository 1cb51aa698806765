# The two identifiers, where no profile sets them.
team=''
partner=''
# The folder that holds "Quillmark Installer.app" and, beside it, "components".
distribution='/Library/Application Support/Quillmark Installer'
