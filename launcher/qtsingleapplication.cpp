// Replaced by the single-instance implementation.
