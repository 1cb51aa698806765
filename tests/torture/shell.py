"""As much of /bin/sh as a path can say that stands in a command line without quotes."""

import re

NAME = re.compile(r"[A-Za-z_][A-Za-z0-9_]*|[0-9?#*@!$-]")


class Unreadable(Exception):
    """The shell refuses the whole line."""


def commands(line, glob):
    """The commands that the line runs, each as its words. Nothing is set, and no file can be redirected to."""
    try:
        return [command for command in parse(line, glob) if command]
    except Unreadable:
        return []


def parse(line, glob):
    found, words, word, pattern, redirected = [], [], None, False, False

    def end_word():
        nonlocal word, pattern
        if word is not None:
            words.extend(glob(word) if pattern else [word])
        word, pattern = None, False

    def end_command():
        nonlocal words, redirected
        end_word()
        found.append([] if redirected else words)
        words, redirected = [], False

    position = 0
    while position < len(line):
        character = line[position]
        position += 1
        if character in " \t":
            end_word()
        elif character in ";&|\n":
            end_command()
        elif character in "<>":
            end_word()
            redirected = True
        elif character in "()":
            raise Unreadable(character)
        elif character == "#" and word is None:
            break
        elif character in "'\"`":
            end = line.find(character, position)
            if end < 0:
                raise Unreadable(character)
            # Between backquotes stands the name of a command that does not exist.
            text = "" if character == "`" else line[position:end]
            word = (word or "") + (text if character == "'" else re.sub(r"\$(" + NAME.pattern + ")", "", text))
            position = end + 1
        elif character == "\\":
            word = (word or "") + line[position:position + 1]
            position += 1
        elif character == "$" and (name := NAME.match(line, position)):
            position = name.end()
        else:
            word = (word or "") + character
            pattern = pattern or character in "*?["
    end_command()
    return found
