"""Many captures as one Dask DataFrame: ``read_items`` and ``read_fields``.

Each partition is one capture, or one range of its items with
``items_per_partition``; the ranges are planned from the item counts that
the captures' trailers give (opening a capture reads its trailer and block
links, never its items), and the frames' columns and dtypes are declared
up front, so building the graph computes nothing. A partition is read by
``Store.to_pandas`` or ``Store.fields_frame`` and gets a first column,
``path``, naming its capture.

The frames run unchanged on Dask's threaded scheduler (the reads release
the GIL, so captures are read in parallel) and on a ``dask.distributed``
cluster. Workers open the captures by path: every worker must see the same
files under the same paths (a shared file system mounted at the same
place; relative paths are made absolute on the client), and have this
package installed. A client that loaded another database with
``quillon.use_database`` has its workers load the same directory, which
must then exist on them too.

A capture that cannot be opened raises ``quillon.Error`` naming it while
the frame is planned; with ``errors="skip"`` it is left out, listed in the
frame's ``attrs["skipped"]`` as ``(path, reason)`` pairs and reported in a
``SkippedCaptures`` warning. ``errors`` also applies to unreadable items
while the partitions are read, as in ``Store.to_pandas``.
"""

from __future__ import annotations

import datetime
import glob
import os
import typing
import warnings
from typing import Any, Dict, List, Optional, Tuple, Union

import dask.dataframe as dd
import pandas as pd  # type: ignore[import]

from .bin import _quillon

PathLike = Union[str, "os.PathLike[str]"]
Paths = Union[PathLike, typing.Iterable[PathLike]]
Part = Tuple[str, str, int, int]  # path as given, path to open, start, stop

__all__ = ["SkippedCaptures", "read_fields", "read_items"]


class SkippedCaptures(UserWarning):
    """Captures that ``errors="skip"`` left out; ``skipped`` lists them as
    ``(path, reason)`` pairs."""

    def __init__(self, skipped: List[Tuple[str, str]]) -> None:
        lines = "".join(f"\n  {path}: {reason}" for path, reason in skipped)
        super().__init__(f"{len(skipped)} capture(s) left out:{lines}")
        self.skipped = skipped


def read_items(
    paths_or_globs: Paths,
    columns: Optional[typing.Sequence[str]] = None,
    *,
    types: Optional[typing.Iterable[int]] = None,
    keys: Optional[typing.Iterable[str]] = None,
    start: int = 0,
    stop: Optional[int] = None,
    since: Optional[datetime.datetime] = None,
    until: Optional[datetime.datetime] = None,
    items_per_partition: Optional[int] = None,
    recover: bool = False,
    errors: str = "raise",
) -> Any:
    """The items of every capture as one dask DataFrame: ``path``, then the
    ``columns`` of ``Store.to_pandas`` (None: all but payload), with its
    selection (``start`` and ``stop`` count in each capture). Globs are
    expanded in sorted order. ``recover`` reads captures that were never
    closed (in memory, as ``quillon.open`` does)."""
    _check_errors(errors)
    meta = _with_path(_quillon._items_meta(columns))
    read: Dict[str, Any] = {"columns": columns, "types": _listed(types), "keys": _listed(keys),
            "since": since, "until": until}
    return _frame(_read_items_part, paths_or_globs, meta, start, stop,
                  items_per_partition, recover, errors, read, "quillon-read-items")


def read_fields(
    paths_or_globs: Paths,
    entity_or_key: str,
    fields: typing.Sequence[str],
    *,
    texts: bool = False,
    columns: typing.Sequence[str] = ("index", "timestamp"),
    types: Optional[typing.Iterable[int]] = None,
    start: int = 0,
    stop: Optional[int] = None,
    since: Optional[datetime.datetime] = None,
    until: Optional[datetime.datetime] = None,
    items_per_partition: Optional[int] = None,
    recover: bool = False,
    errors: str = "raise",
) -> Any:
    """Parsed fields of every capture as one dask DataFrame: ``path``, then
    what ``Store.fields_frame(entity_or_key, fields, ...)`` gives. ``fields``
    must name the fields (the columns are declared before any item is
    read); their values are objects (cast with ``astype``). Captures and
    partitions as ``read_items``."""
    _check_errors(errors)
    if isinstance(fields, str) or not list(fields):
        raise ValueError("fields must be a non-empty sequence of field names")
    meta = _with_path(_quillon._fields_meta(list(fields), texts, columns))
    read: Dict[str, Any] = {"entity_or_key": entity_or_key, "fields": list(fields), "texts": texts,
            "columns": columns, "types": _listed(types), "since": since, "until": until}
    return _frame(_read_fields_part, paths_or_globs, meta, start, stop,
                  items_per_partition, recover, errors, read, "quillon-read-fields")


# --- planning ---------------------------------------------------------------

def _check_errors(errors: str) -> None:
    if errors not in ("raise", "skip"):
        raise ValueError(f"errors must be 'raise' or 'skip', not {errors!r}")


def _listed(values: Optional[typing.Iterable[Any]]) -> Optional[List[Any]]:
    return None if values is None else list(values)


def _with_path(frame: Any) -> Any:
    """`frame` (empty) with the path column first."""
    frame.insert(0, "path", pd.Series([], dtype=object))
    return frame


def _expand(paths_or_globs: Paths, skipped: List[Tuple[str, str]], errors: str) -> List[str]:
    given: typing.Iterable[PathLike]
    if isinstance(paths_or_globs, (str, os.PathLike)):
        given = [paths_or_globs]
    else:
        given = paths_or_globs
    paths: List[str] = []
    for entry in given:
        path = os.fspath(entry)
        if not glob.has_magic(path):
            paths.append(path)
            continue
        matches = sorted(glob.glob(path))
        if not matches:
            if errors == "raise":
                raise FileNotFoundError(f"no capture matches {path}")
            skipped.append((path, "no capture matches"))
        paths.extend(matches)
    return paths


def _plan(paths: List[str], start: int, stop: Optional[int], per_partition: Optional[int],
          recover: bool, errors: str, skipped: List[Tuple[str, str]]) -> List[Part]:
    if per_partition is not None and per_partition < 1:
        raise ValueError("items_per_partition must be at least 1")
    parts: List[Part] = []
    for path in paths:
        try:
            with _quillon.open(path, recover=recover) as store:
                count = len(store)
        except _quillon.Error as error:
            if errors == "raise":
                raise
            skipped.append((path, str(error)))
            continue
        end = count if stop is None else min(stop, count)
        step = per_partition or max(end - start, 1)
        absolute = os.path.abspath(path)
        parts.extend((path, absolute, first, min(first + step, end))
                     for first in range(start, end, step))
    return parts


def _client_database() -> Optional[str]:
    """The database directory workers must load: None for the package's
    own, which each worker finds beside its own package."""
    directory = _quillon.database_directory()
    own = os.path.join(os.path.dirname(os.path.abspath(__file__)), "Database")
    same = os.path.normcase(os.path.realpath(directory.rstrip("/\\"))) == \
        os.path.normcase(os.path.realpath(own))
    return None if same else directory


def _frame(read_part: Any, paths_or_globs: Paths, meta: Any, start: int, stop: Optional[int],
           per_partition: Optional[int], recover: bool, errors: str, read: Dict[str, Any],
           label: str) -> Any:
    skipped: List[Tuple[str, str]] = []
    parts = _plan(_expand(paths_or_globs, skipped, errors), start, stop, per_partition,
                  recover, errors, skipped)
    if parts:
        frame = dd.from_map(read_part, parts, meta=meta, label=label,
                            recover=recover, errors=errors, database=_client_database(),
                            read=read)
    else:
        frame = dd.from_pandas(meta, npartitions=1)
    if errors == "skip":
        frame.attrs["skipped"] = skipped
        if skipped:
            warnings.warn(SkippedCaptures(skipped), stacklevel=3)
    return frame


# --- reading, on the workers ------------------------------------------------

_database_checked: Optional[str] = None


def _use_client_database(directory: Optional[str]) -> None:
    global _database_checked
    if directory is None or directory == _database_checked:
        return
    try:
        _quillon.use_database(directory)
    except RuntimeError:
        if os.path.realpath(_quillon.database_directory()) != os.path.realpath(directory):
            raise RuntimeError(
                f"this worker's database is {_quillon.database_directory()}, the client's "
                f"{directory}: use a fresh worker process") from None
    _database_checked = directory


def _open_part(part: Part, recover: bool, errors: str, database: Optional[str]) -> Any:
    _use_client_database(database)
    try:
        return _quillon.open(part[1], recover=recover)
    except _quillon.Error:
        if errors == "skip":  # gone since the plan: left out
            return None
        raise


def _read_items_part(part: Part, recover: bool, errors: str, database: Optional[str],
                     read: Dict[str, Any]) -> Any:
    store = _open_part(part, recover, errors, database)
    if store is None:
        return _with_path(_quillon._items_meta(read["columns"]))
    with store:
        frame = store.to_pandas(start=part[2], stop=part[3], errors=errors, **read)
    frame.insert(0, "path", part[0])
    return frame


def _read_fields_part(part: Part, recover: bool, errors: str, database: Optional[str],
                      read: Dict[str, Any]) -> Any:
    store = _open_part(part, recover, errors, database)
    if store is None:
        return _with_path(_quillon._fields_meta(read["fields"], read["texts"],
                                                read["columns"]))
    with store:
        frame = store.fields_frame(start=part[2], stop=part[3], errors=errors, **read)
    frame.insert(0, "path", part[0])
    return frame
