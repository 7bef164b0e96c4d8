"""Quillon: read, write and render item store files (.isf).

Two layers over the same core:

* the automation classes, exactly as scripts on Windows see them:
  ``ItemStoreFiles()``, ``EventService()`` and the ``ColorItem`` and
  ``ColorItemFields`` objects they return, with the same method names,
  parameters and failure values (0xFFFFFFFF, False, None, "");
* a Pythonic layer: ``quillon.open(path)`` as a context manager, items by
  index, slice and iteration, properties instead of getters, and failures
  raised as ``quillon.Error``.

The database is found beside the package (``Database/``) unless
``use_database(path)`` names another one before the first object exists.
"""

from .bin._quillon import (
    ColorItem,
    ColorItemFields,
    Error,
    EventService,
    Field,
    Item,
    ItemIterator,
    ItemStoreFiles,
    Store,
    database_directory,
    event_name,
    event_summary,
    open,
    use_database,
)

__all__ = [
    "ColorItem",
    "ColorItemFields",
    "Error",
    "EventService",
    "Field",
    "Item",
    "ItemIterator",
    "ItemStoreFiles",
    "Store",
    "database_directory",
    "event_name",
    "event_summary",
    "open",
    "use_database",
]
