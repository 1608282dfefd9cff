# SPDX-License-Identifier: BSD-2-Clause
"""Runs a program with the library of a folder: run_with.py FOLDER PROGRAM [ARGUMENT]..."""
import os
import sys

from loader import environment_with, problem_with

folder, program = sys.argv[1:3]
problem = problem_with(folder, program)
if problem:
    print(problem[1])
    sys.exit(problem[0])
os.execve(program, sys.argv[2:], environment_with(folder))
