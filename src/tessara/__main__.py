"""`python -m tessara`: the command line."""

from tessara.cli import main

if __name__ == "__main__":
    main(prog_name="python -m tessara")
