# SPDX-License-Identifier: BSD-2-Clause
"""Runs one test method of one module; exit code 77 tells that it was skipped."""
import importlib
import sys
import unittest

module, method = sys.argv[1:]
cases = unittest.defaultTestLoader.loadTestsFromModule(importlib.import_module(module))
chosen = unittest.TestSuite(case for group in cases for case in group if case._testMethodName == method)
result = unittest.TextTestRunner(verbosity=2).run(chosen)
if not result.wasSuccessful() or result.testsRun != 1:
    sys.exit(1)
sys.exit(77 if result.skipped else 0)
