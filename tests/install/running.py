"""Programs that have to end well."""

import subprocess


def run(*command, **options):
    """What a program prints."""
    process = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, timeout=500, **options)
    text = process.stdout.decode()
    if process.returncode != 0:
        raise AssertionError(f"{command} ends with {process.returncode}:\n{text}")
    return text
