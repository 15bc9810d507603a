"""Exceptions with the texts of the command line, one kind an exit code."""

from __future__ import annotations


class Error(Exception):
    """Whatever the engine refuses. `code` is the exit code that the command line would end with;
    lines that help stand in the exception's notes."""

    code = 1


class FailedError(Error):
    """The work failed: a build whose outputs would be empty, an effect that does not compile."""


class UsageError(Error, ValueError):
    """A call that makes no sense as it stands."""

    code = 2


class MissingInputError(Error, FileNotFoundError):
    """A file is missing or cannot be read."""

    code = 3

    def __str__(self) -> str:  # that of an OSError would look for an error number
        return str(self.args[0]) if self.args else ''


class MalformedInputError(Error, ValueError):
    """A file or a value is not what it should be; the text names the place."""

    code = 4


class LimitError(Error):
    """A limit refused it; the text names the limit and what raises it."""

    code = 5


class OutputError(Error, OSError):
    """A file cannot be written."""

    code = 6

    def __str__(self) -> str:
        return str(self.args[0]) if self.args else ''


class DravinWarning(UserWarning):
    """What was clamped, left out or went wrong on the side."""


_KINDS = {kind.code: kind for kind in (FailedError, UsageError, MissingInputError,
                                       MalformedInputError, LimitError, OutputError)}


def make_error(code: int, text: str, notes: list[str]) -> Error:
    """The exception of an exit code."""
    error = _KINDS.get(code, FailedError)(text)
    for note in notes:
        error.add_note(note)
    return error
