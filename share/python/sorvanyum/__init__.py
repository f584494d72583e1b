"""The companion script's implementation of the yum contract over dnf 4.

Importing this package imports nothing of dnf: the script routes output to
the program before dnf is loaded.
"""
