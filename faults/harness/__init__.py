"""The fault harness: copies while something goes wrong, judged in the server's own folder."""
