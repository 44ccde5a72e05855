"""The jobs of the command."""
