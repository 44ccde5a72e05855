# What type checks see of distributed, which is slow to check itself.
from typing import Any

def __getattr__(name: str) -> Any: ...
