"""A whole collection against the sandbox: the exact sets, and every object
read the way the program reads it."""

import os
import sys

import rpm

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import enginetest  # noqa: E402
from enginetest import Collection, RootTestCase  # noqa: E402

ARCH = enginetest.nativeArch()

UPDATES = ["sv-docs-1.1-1.noarch", "2:sv-epoch-1.0-1.noarch",
           "sv-kernel-5.2-1.%s" % ARCH, "sv-tool-1.2-1.%s" % ARCH]

INSTALLED = ["sv-docs-1.0-1.noarch", "1:sv-epoch-2.0-1.noarch", "sv-kernel-5.0-1.%s" % ARCH,
             "sv-kernel-5.1-1.%s" % ARCH, "sv-lib-2.0-1.%s" % ARCH, "sv-old-1.0-1.noarch",
             "sv-release-1-1.noarch", "sv-reloc-1.0-1.noarch", "sv-tool-1.0-1.%s" % ARCH]

AVAILABLE = sorted([
    "sv-app-1.0-1.%s" % ARCH, "sv-calc-3.0-1.noarch", "sv-corelib-1.0-1.noarch",
    "sv-devtools-1.0-1.%s" % ARCH, "sv-docs-1.1-1.noarch", "sv-editor-1.0-1.noarch",
    "2:sv-epoch-1.0-1.noarch", "sv-extra-docs-1.0-1.noarch", "sv-failing-1.0-1.noarch",
    "sv-helper-1.0-1.noarch", "sv-kernel-5.2-1.%s" % ARCH, "sv-lib-2.0-1.i686",
    "sv-libfoo-1.0-1.%s" % ARCH, "sv-mirror-tool-1.0-1.noarch", "sv-new-2.0-1.noarch",
    "sv-noisy-1.0-1.noarch", "sv-office-suite-3.0-1.noarch", "sv-themes-1.0-1.noarch",
    "sv-tool-1.2-1.%s" % ARCH, "sv-viewer-1.0-1.noarch", "sv-viewer-langpack-1.0-1.noarch",
    "sv-writer-3.0-1.noarch"])


class CollectionTest(RootTestCase):

    def test_sets_are_exactly_the_sandboxs(self):
        c = self.collect()
        self.assertEqual(Collection.names(c.updates), sorted(UPDATES))
        self.assertEqual(Collection.names(c.installed), sorted(INSTALLED))
        self.assertEqual(Collection.names(c.available), AVAILABLE)

    def test_installed_version_is_not_also_available(self):
        c = self.collect()
        installed = {p.pkgtup for p in c.installed}
        self.assertFalse([p for p in c.available if p.pkgtup in installed])
        # sv-tool 1.0 is published in sv-base and installed: only 1.2 is available.
        self.assertEqual([p.printVer() for p in c.available if p.name == "sv-tool"], ["1.2-1"])

    def test_repositories_of_the_store(self):
        y = self.session()
        repos = y.repos.repos
        self.assertIsInstance(repos, dict)
        self.assertEqual(sorted(repos), ["sv-base", "sv-buffet", "sv-extras", "sv-http",
                                         "sv-mirrored", "sv-unreachable", "sv-updates"])
        enabled = sorted(r for r, repo in repos.items() if repo.enabled)
        self.assertEqual(enabled, ["sv-base", "sv-mirrored", "sv-updates"])
        for repo in repos.values():
            self.assertIs(type(repo.enabled), int)

    def test_enabling_a_repository_changes_the_sets(self):
        c = self.collect(enables={"sv-extras": True, "sv-updates": False})
        self.assertIn("sv-tool-2.0-1.%s" % ARCH, Collection.names(c.updates))
        self.assertIn("sv-extra-tool-1.0-1.noarch", Collection.names(c.available))
        self.assertNotIn("sv-new-2.0-1.noarch", Collection.names(c.available))
        self.assertEqual(c.session.repos.repos["sv-updates"].enabled, 0)

    def test_second_collection_sees_the_same(self):
        y = self.session()
        first = self.collect(y)
        second = self.collect(y)
        self.assertEqual(Collection.names(first.available), Collection.names(second.available))
        self.assertEqual(Collection.names(first.updates), Collection.names(second.updates))

    def test_variables(self):
        y = self.session()
        self.collect(y)
        yumvar = y.conf.yumvar
        self.assertEqual(yumvar["basearch"], ARCH)
        self.assertEqual(yumvar["arch"], ARCH)
        # From sv-release's system-release(releasever) = 1, in the managed root.
        self.assertEqual(yumvar["releasever"], "1")


class PackageObjectTest(RootTestCase):
    """Each field the program reads, with the type it converts and the value
    the sandbox gave the package."""

    def setUp(self):
        super().setUp()
        self.c = self.collect()

    def test_identity(self):
        p = self.c.find("installed", "sv-epoch")
        self.assertEqual((p.name, p.arch, p.epoch, p.version, p.release),
                         ("sv-epoch", "noarch", "1", "2.0", "1"))
        self.assertEqual(p.pkgtup, ("sv-epoch", "noarch", "1", "2.0", "1"))
        self.assertEqual(p.printVer(), "1:2.0-1")
        self.assertEqual(str(p), "1:sv-epoch-2.0-1.noarch")
        q = self.c.find("installed", "sv-docs")
        self.assertEqual(q.printVer(), "1.0-1")
        self.assertEqual(str(q), "sv-docs-1.0-1.noarch")

    def test_repository_ids(self):
        self.assertEqual({p.repoid for p in self.c.installed}, {"installed"})
        self.assertEqual(self.c.find("available", "sv-new").repoid, "sv-updates")
        self.assertEqual(self.c.find("available", "sv-app").returnSimple("repoid"), "sv-base")
        self.assertEqual(self.c.find("installed", "sv-tool").returnSimple("repoid"), "installed")

    def test_simple_fields(self):
        p = self.c.find("available", "sv-office-suite")
        expected = {
            "summary": "Office suite of the sandbox",
            "group": "Suite",
            "vendor": "SORVAN Sandbox",
            "license": "MIT",
            "packager": "SORVAN Developers <devel@sorvan.example>",
            "url": "https://sorvan.example/sandbox",
            "buildhost": "builder.sorvan.example",
            "buildtime": 1700000000,
            "sourcerpm": "sv-office-suite-3.0-1.src.rpm",
            "relativepath": "Packages/sv-office-suite-3.0-1.noarch.rpm",
        }
        for field, value in expected.items():
            with self.subTest(field=field):
                got = p.returnSimple(field)
                self.assertEqual(got, value)
                self.assertIs(type(got), type(value))
        self.assertTrue(p.returnSimple("description").startswith("A package whose group is Suite"))
        self.assertEqual(p.summary, expected["summary"])
        with self.assertRaises(AttributeError):
            p.returnSimple("no-such-field")

    def test_installed_fields_come_from_the_root(self):
        p = self.c.find("installed", "sv-reloc")
        self.assertEqual(p.returnSimple("buildhost"), "builder.sorvan.example")
        self.assertEqual(p.returnSimple("buildtime"), 1700000000)
        self.assertEqual(p.returnSimple("group"), "Applications/System")

    def test_sizes(self):
        inst = self.c.find("installed", "sv-tool")
        avail = self.c.find("available", "sv-tool")
        self.assertIs(type(inst.size()), int)
        # Installed: the bytes its files take; available: the download.
        self.assertEqual(inst.size(), inst.installedsize)
        self.assertEqual(avail.size(), os.path.getsize(
            os.path.join(enginetest.REPOS, "sv-updates", avail.relativepath)))

    def test_header_only_on_installed_packages(self):
        for p in self.c.available:
            self.assertFalse(hasattr(p, "hdr"), p)
        p = self.c.find("installed", "sv-reloc")
        h = p.hdr
        self.assertEqual(h[rpm.RPMTAG_NAME], "sv-reloc")
        self.assertEqual(list(h[rpm.RPMTAG_PREFIXES]), ["/opt/sv-reloc"])
        self.assertGreater(h[rpm.RPMTAG_INSTALLTIME], 1700000000)
        # Both installed kernels have their own header.
        kernels = sorted(k.hdr[rpm.RPMTAG_VERSION] for k in self.c.installed
                         if k.name == "sv-kernel")
        self.assertEqual(kernels, ["5.0", "5.1"])

    def test_dependencies(self):
        app = self.c.find("available", "sv-app")
        self.assertEqual(app.returnPrco("requires"), [("sv-libfoo", "GE", ("0", "1.0", None))])
        new = self.c.find("available", "sv-new")
        self.assertEqual(new.returnPrco("obsoletes"), [("sv-old", "LT", ("0", "2.0", None))])
        self.assertIn(("sv-old", "EQ", ("0", "2.0", None)), new.returnPrco("provides"))
        self.assertIn(("sv-new", "EQ", ("0", "2.0", "1")), new.returnPrco("provides"))
        self.assertEqual(new.returnPrco("conflicts"), [])
        upd = self.c.find("available", "sv-epoch")
        self.assertIn(("sv-epoch", "EQ", ("2", "1.0", "1")), upd.returnPrco("provides"))
        kernel = self.c.find("available", "sv-kernel")
        self.assertIn(("installonlypkg(kernel)", None, (None, None, None)),
                      kernel.returnPrco("provides"))
        self.assertEqual(set(app.prco), {"provides", "requires", "conflicts", "obsoletes"})
        self.assertEqual(app.prco["requires"], app.returnPrco("requires"))

    def test_transaction_files(self):
        p = self.c.find("available", "sv-noisy")
        self.assertEqual(p.localPkg(), os.path.join(enginetest.REPOS, "sv-base",
                                                    "Packages/sv-noisy-1.0-1.noarch.rpm"))
        self.assertTrue(os.path.exists(p.localPkg()))
        hdr = p.localHdr()
        self.assertTrue(hdr.endswith("/headers/sv-noisy-0-1.0-1.noarch.hdr"), hdr)
        self.assertTrue(hdr.startswith(self.root))
        self.assertFalse(os.path.exists(hdr))

    def test_better_of_two(self):
        y = self.c.session
        native = self.c.find("installed", "sv-lib", ARCH)
        twin = self.c.find("available", "sv-lib", "i686")
        self.assertIs(y.isBetterThan(native, twin), True)
        self.assertIs(y.isBetterThan(twin, native), False)
        old, new = sorted((k for k in self.c.installed if k.name == "sv-kernel"),
                          key=lambda k: k.version)
        self.assertIs(y.isBetterThan(new, old), True)
        self.assertIs(y.isBetterThan(old, new), False)
        self.assertIs(y.isBetterThan(old, old), False)
        # Epoch beats version.
        self.assertIs(y.isBetterThan(self.c.find("available", "sv-epoch"),
                                     self.c.find("installed", "sv-epoch")), True)


class GroupTest(RootTestCase):

    def setUp(self):
        super().setUp()
        self.c = self.collect()

    def test_groups_and_installed_state(self):
        got = {g.name: (g.installed, g.user_visible) for g in self.c.groups}
        self.assertEqual(got, {
            "SORVAN Core": (True, True),
            "SORVAN Minimal": (True, True),
            "SORVAN Desktop": (False, True),
            "SORVAN Development": (False, True),
            "SORVAN Hidden Helpers": (False, False),
            "SORVAN Workstation": (True, True),
        })
        self.assertEqual([g.name for g in self.c.info.visible_groups],
                         [g.name for g in self.c.groups if g.user_visible])
        self.assertEqual(self.c.info.group_installed["SORVAN Desktop"], False)

    def test_member_lists_under_both_names(self):
        g = self.c.group("SORVAN Desktop")
        self.assertEqual(g.mandatory_packages, ["sv-viewer"])
        self.assertEqual(g.default_packages, ["sv-editor"])
        self.assertEqual(g.optional_packages, ["sv-themes"])
        self.assertEqual(dict(g.conditional_packages), {"sv-viewer-langpack": "sv-viewer"})
        self.assertEqual(list(g.conditional_packages), ["sv-viewer-langpack"])
        self.assertIs(g.mandatory_pkgs, g.mandatory_packages)
        self.assertIs(g.default_pkgs, g.default_packages)
        self.assertIs(g.optional_pkgs, g.optional_packages)
        self.assertEqual((g.sub_groups, g.default_metapkgs, g.optional_metapkgs), ([], [], []))

    def test_installed_group_missing_a_mandatory_package(self):
        core = self.c.group("SORVAN Core")
        self.assertTrue(core.installed)
        installed = {p.name for p in self.c.installed}
        missing = [n for n in core.mandatory_packages if n not in installed]
        self.assertEqual(missing, ["sv-corelib"])

    def test_environment_lists_its_groups(self):
        env = self.c.group("SORVAN Workstation")
        self.assertEqual(env.sub_groups, ["SORVAN Core", "SORVAN Desktop"])
        self.assertEqual(env.optional_metapkgs, ["SORVAN Development"])
        self.assertEqual(env.mandatory_packages, [])

    def test_root_without_groups(self):
        # Only sv-updates, which has no comps file.
        y = self.session()
        y.lock()
        for rid in list(y.repos.repos):
            y.repos.disableRepo(rid)
        y.repos.enableRepo("sv-updates")
        y.setupRepos()
        with self.assertRaises(self.Errors.GroupsError) as caught:
            y.setupTsGroup()
        self.assertIn("No Groups Available", caught.exception.value)
        self.assertEqual(list(y.collectGroupInfo()), [])


if __name__ == "__main__":
    enginetest.run(sys.argv)
