# What type checks see of xarray, which is slow to check itself.
from typing import Any

def __getattr__(name: str) -> Any: ...
