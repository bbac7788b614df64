"""XPath requests to databases of XML documents.

>>> import vexa
>>> with vexa.open("plays") as db:
...     db.count("//speech")
...     for node in db.find("//speech[@speaker='Yorick']"):
...         print(node.document, node.path, node.value)

Every thread may use every object. What is asked of one Database is answered one after the other,
and so are the requests of find() and count() of all of them; expressions of xpath() to several
Databases run beside each other. The GIL is not held meanwhile, and Ctrl-C stops what runs in the
main thread.
"""

from ._kernel import (
    Database,
    Error,
    ExpressionError,
    Node,
    NodeIterator,
    Nodes,
    __version__,
    open,
)

for _public in (Database, Node, NodeIterator, Nodes, open):
    _public.__module__ = "vexa"

__all__ = ["Database", "Error", "ExpressionError", "Node", "NodeIterator", "Nodes", "open"]
