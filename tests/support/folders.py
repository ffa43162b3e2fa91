"""Folders of tests, which go with the program that has made them."""
import atexit, shutil, tempfile


def new_folder():
    folder = tempfile.mkdtemp()
    atexit.register(shutil.rmtree, folder, ignore_errors=True)
    return folder
