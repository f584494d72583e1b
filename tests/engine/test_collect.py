"""A whole collection against the sandbox: the exact sets, and every object
read the way the program reads it."""

import os
import sys

import rpm

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from enginetest import ARCH, REPOS, RootTestCase, names, run

UPDATES = ["sv-docs-1.1-1.noarch", "2:sv-epoch-1.0-1.noarch", "sv-kernel-5.2-1." + ARCH,
           "sv-tool-1.2-1." + ARCH]
INSTALLED = ["sv-docs-1.0-1.noarch", "1:sv-epoch-2.0-1.noarch", "sv-kernel-5.0-1." + ARCH,
             "sv-kernel-5.1-1." + ARCH, "sv-lib-2.0-1." + ARCH, "sv-old-1.0-1.noarch",
             "sv-release-1-1.noarch", "sv-reloc-1.0-1.noarch", "sv-tool-1.0-1." + ARCH]
# An installed version (sv-tool 1.0 is also in sv-base) is not also available.
AVAILABLE = sorted(UPDATES + [
    "sv-app-1.0-1." + ARCH, "sv-calc-3.0-1.noarch", "sv-corelib-1.0-1.noarch",
    "sv-devtools-1.0-1." + ARCH, "sv-editor-1.0-1.noarch", "sv-extra-docs-1.0-1.noarch",
    "sv-failing-1.0-1.noarch", "sv-helper-1.0-1.noarch", "sv-lib-2.0-1.i686",
    "sv-libfoo-1.0-1." + ARCH, "sv-mirror-tool-1.0-1.noarch", "sv-new-2.0-1.noarch",
    "sv-noisy-1.0-1.noarch", "sv-office-suite-3.0-1.noarch", "sv-themes-1.0-1.noarch",
    "sv-viewer-1.0-1.noarch", "sv-viewer-langpack-1.0-1.noarch", "sv-writer-3.0-1.noarch"])


class CollectionTest(RootTestCase):

    def test_sets_are_exactly_the_sandboxs(self):
        y = self.session()
        repos = y.repos.repos
        self.assertEqual(sorted(repos), ["sv-base", "sv-buffet", "sv-extras", "sv-http",
                                         "sv-mirrored", "sv-unreachable", "sv-updates"])
        self.assertEqual({r: repo.enabled for r, repo in repos.items() if repo.enabled},
                         {"sv-base": 1, "sv-mirrored": 1, "sv-updates": 1})
        for _ in range(2):  # a second collection on the same session sees the same
            c = self.collect(y)
            self.assertEqual(names(c.updates), sorted(UPDATES))
            self.assertEqual(names(c.installed), sorted(INSTALLED))
            self.assertEqual(names(c.available), AVAILABLE)
        # From sv-release's system-release(releasever) = 1, in the managed root.
        self.assertEqual((y.conf.yumvar["basearch"], y.conf.yumvar["arch"],
                          y.conf.yumvar["releasever"]), (ARCH, ARCH, "1"))

    def test_enabling_a_repository_changes_the_sets(self):
        c = self.collect(enables={"sv-extras": True, "sv-updates": False})
        self.assertIn("sv-tool-2.0-1." + ARCH, names(c.updates))
        self.assertIn("sv-extra-tool-1.0-1.noarch", names(c.available))
        self.assertNotIn("sv-new-2.0-1.noarch", names(c.available))
        self.assertIs(c.session.repos.repos["sv-updates"].enabled, 0)


class PackageObjectTest(RootTestCase):
    """Each field the program reads, with its type and the sandbox's value."""

    def setUp(self):
        super().setUp()
        self.c = self.collect()

    def test_identity_and_repository(self):
        p = self.c.find("installed", "sv-epoch")
        self.assertEqual((p.name, p.arch, p.epoch, p.version, p.release, p.pkgtup),
                         ("sv-epoch", "noarch", "1", "2.0", "1",
                          ("sv-epoch", "noarch", "1", "2.0", "1")))
        self.assertEqual((p.printVer(), str(p)), ("1:2.0-1", "1:sv-epoch-2.0-1.noarch"))
        self.assertEqual(self.c.find("installed", "sv-docs").printVer(), "1.0-1")
        self.assertEqual({p.repoid for p in self.c.installed}, {"installed"})
        self.assertEqual(self.c.find("available", "sv-new").repoid, "sv-updates")
        self.assertEqual(self.c.find("available", "sv-app").returnSimple("repoid"), "sv-base")

    def test_simple_fields(self):
        p = self.c.find("available", "sv-office-suite")
        expected = {
            "summary": "Office suite of the sandbox", "group": "Suite", "vendor": "SORVAN Sandbox",
            "license": "MIT", "packager": "SORVAN Developers <devel@sorvan.example>",
            "url": "https://sorvan.example/sandbox", "buildhost": "builder.sorvan.example",
            "buildtime": 1700000000, "sourcerpm": "sv-office-suite-3.0-1.src.rpm",
            "relativepath": "Packages/sv-office-suite-3.0-1.noarch.rpm",
        }
        for field, value in expected.items():
            with self.subTest(field=field):
                self.assertEqual(p.returnSimple(field), value)
                self.assertIs(type(p.returnSimple(field)), type(value))
        self.assertTrue(p.returnSimple("description").startswith("A package whose group is Suite"))
        with self.assertRaises(AttributeError):
            p.returnSimple("no-such-field")
        # Installed packages' fields come from the root's rpm database.
        q = self.c.find("installed", "sv-reloc")
        self.assertEqual((q.returnSimple("buildhost"), q.returnSimple("group")),
                         ("builder.sorvan.example", "Applications/System"))

    def test_sizes_headers_and_files(self):
        inst, avail = self.c.find("installed", "sv-tool"), self.c.find("available", "sv-tool")
        # Installed: the bytes its files take; available: the download.
        self.assertEqual(inst.size(), inst.installedsize)
        self.assertEqual(avail.size(), os.path.getsize(
            os.path.join(REPOS, "sv-updates", avail.relativepath)))
        for p in self.c.available:
            self.assertFalse(hasattr(p, "hdr"), p)
        h = self.c.find("installed", "sv-reloc").hdr
        self.assertEqual((h[rpm.RPMTAG_NAME], list(h[rpm.RPMTAG_PREFIXES])),
                         ("sv-reloc", ["/opt/sv-reloc"]))
        self.assertEqual(sorted(k.hdr[rpm.RPMTAG_VERSION] for k in self.c.installed
                                if k.name == "sv-kernel"), ["5.0", "5.1"])
        p = self.c.find("available", "sv-noisy")
        self.assertEqual(p.localPkg(), os.path.join(REPOS, "sv-base",
                                                    "Packages/sv-noisy-1.0-1.noarch.rpm"))
        # No header cache: a header path in the root that never exists.
        self.assertTrue(p.localHdr().startswith(self.root))
        self.assertTrue(p.localHdr().endswith("/headers/sv-noisy-0-1.0-1.noarch.hdr"))
        self.assertFalse(os.path.exists(p.localHdr()))

    def test_dependencies(self):
        app = self.c.find("available", "sv-app")
        self.assertEqual(app.returnPrco("requires"), [("sv-libfoo", "GE", ("0", "1.0", None))])
        self.assertEqual(app.prco["requires"], app.returnPrco("requires"))
        self.assertEqual(set(app.prco), {"provides", "requires", "conflicts", "obsoletes"})
        new = self.c.find("available", "sv-new")
        self.assertEqual(new.returnPrco("obsoletes"), [("sv-old", "LT", ("0", "2.0", None))])
        self.assertIn(("sv-new", "EQ", ("0", "2.0", "1")), new.returnPrco("provides"))
        self.assertEqual(new.returnPrco("conflicts"), [])
        self.assertIn(("sv-epoch", "EQ", ("2", "1.0", "1")),
                      self.c.find("available", "sv-epoch").returnPrco("provides"))
        self.assertIn(("installonlypkg(kernel)", None, (None, None, None)),
                      self.c.find("available", "sv-kernel").returnPrco("provides"))

    def test_better_of_two(self):
        better = self.c.session.isBetterThan
        native, twin = self.c.find("installed", "sv-lib", ARCH), self.c.find("available", "sv-lib", "i686")
        old, new = sorted((k for k in self.c.installed if k.name == "sv-kernel"), key=lambda k: k.version)
        epoch = self.c.find("available", "sv-epoch"), self.c.find("installed", "sv-epoch")
        self.assertEqual([better(native, twin), better(twin, native), better(new, old),
                          better(old, new), better(old, old), better(*epoch)],
                         [True, False, True, False, False, True])


class GroupTest(RootTestCase):

    def test_groups_and_their_members(self):
        c = self.collect()
        self.assertEqual({g.name: (g.installed, g.user_visible) for g in c.groups}, {
            "SORVAN Core": (True, True), "SORVAN Minimal": (True, True),
            "SORVAN Desktop": (False, True), "SORVAN Development": (False, True),
            "SORVAN Hidden Helpers": (False, False), "SORVAN Workstation": (True, True)})
        self.assertEqual([g.name for g in c.info.visible_groups],
                         [g.name for g in c.groups if g.user_visible])
        g = c.group("SORVAN Desktop")
        self.assertEqual((g.mandatory_packages, g.default_packages, g.optional_packages),
                         (["sv-viewer"], ["sv-editor"], ["sv-themes"]))
        self.assertEqual(dict(g.conditional_packages), {"sv-viewer-langpack": "sv-viewer"})
        self.assertEqual((g.mandatory_pkgs, g.default_pkgs, g.optional_pkgs),
                         (g.mandatory_packages, g.default_packages, g.optional_packages))
        # Installed although a mandatory member is not.
        core = c.group("SORVAN Core")
        self.assertEqual([n for n in core.mandatory_packages
                          if n not in {p.name for p in c.installed}], ["sv-corelib"])
        env = c.group("SORVAN Workstation")
        self.assertEqual((env.sub_groups, env.optional_metapkgs, env.mandatory_packages),
                         (["SORVAN Core", "SORVAN Desktop"], ["SORVAN Development"], []))

    def test_root_without_groups(self):
        y = self.session()
        y.lock()
        for rid in list(y.repos.repos):
            y.repos.disableRepo(rid)
        y.repos.enableRepo("sv-updates")  # no comps file
        y.setupRepos()
        with self.assertRaises(self.Errors.GroupsError) as caught:
            y.setupTsGroup()
        self.assertIn("No Groups Available", caught.exception.value)
        self.assertEqual(list(y.collectGroupInfo()), [])


if __name__ == "__main__":
    run()
