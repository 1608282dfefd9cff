# SPDX-License-Identifier: BSD-2-Clause
"""Runs one test method of one module; exit code 77 tells that it was skipped."""
import importlib
import sys
import unittest

module, method = sys.argv[1:]
cases = unittest.defaultTestLoader.loadTestsFromModule(importlib.import_module(module))
chosen = [case for group in cases for case in group if case._testMethodName == method]
if len(chosen) != 1:
    sys.exit(f"{module} has {len(chosen)} tests of the name {method}")
result = unittest.TextTestRunner(verbosity=2).run(chosen[0])
if not result.wasSuccessful():
    sys.exit(1)
sys.exit(77 if result.skipped else 0)
