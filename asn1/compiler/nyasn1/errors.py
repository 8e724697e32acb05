"""The one exception type of the compiler."""


class Asn1Error(Exception):
    """A problem in a module source, reported as "file:line: message"."""

    def __init__(self, message, filename=None, line=None):
        super().__init__(message)
        self.message = message
        self.filename = filename
        self.line = line

    def __str__(self):
        where = self.filename or "<input>"
        if self.line is not None:
            where = "%s:%d" % (where, self.line)
        return "%s: %s" % (where, self.message)
