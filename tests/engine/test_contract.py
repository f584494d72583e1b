"""What the program requires of the script itself: how it stops on a bad
start, and where the script's log records and warnings go."""

import logging
import os
import sys
import warnings

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import yumIOC  # noqa: E402
from enginetest import RootTestCase, run  # noqa: E402


class ContractTest(RootTestCase):

    def test_malformed_main_file_stops_the_engine_with_its_name(self):
        main = self.writeFile("/etc/yum.conf", "[main\ngpgcheck=0\n")  # a link to dnf/dnf.conf
        with self.assertRaises(SystemExit) as caught:
            self.session()
        self.assertIn(main, str(caught.exception))
        self.assertTrue([t for _, t in yumIOC.of("errorlog") if main in t])

    def test_log_records_keep_yums_detail_levels(self):
        cases = [("dnf", logging.ERROR, "errorlog", 0), ("dnf", logging.WARNING, "errorlog", 1),
                 ("dnf", 4, "log", 9), ("librepo", logging.DEBUG, "log", 3)]
        for logger, level, function, detail in cases:
            with self.subTest(logger=logger, level=level):
                yumIOC.reset()
                logging.getLogger(logger).log(level, "line %d\nsecond", level)
                self.assertEqual(yumIOC.calls, [(function, (detail, "line %d\nsecond" % level))])
        yumIOC.reset()
        warnings.warn("an old API")
        self.assertTrue([t for level, t in yumIOC.of("errorlog") if level == 1 and "an old API" in t])


if __name__ == "__main__":
    run()
