"""Group objects with yum's names over dnf's comps.

A group counts as installed as yum counted it, from the packages of the
managed root: when any of its mandatory packages is installed (or, having
none, any default one, or, having neither, any optional one).  dnf's own
record of "group install" commands would not see groups that SORVAN installs
package by package.  Environments are shown as groups whose sub-groups are
the environment's groups.
"""

from dnf.comps import CONDITIONAL as _CONDITIONAL
from dnf.comps import DEFAULT as _DEFAULT
from dnf.comps import MANDATORY as _MANDATORY
from dnf.comps import OPTIONAL as _OPTIONAL


class Group:
    """One comps group (or environment) as the program reads it."""

    def __init__(self, groupid, name, description, user_visible, display_order=None):
        self.groupid = groupid
        self.name = name
        self.ui_name = name
        self.description = description
        self.ui_description = description
        self.user_visible = user_visible
        self.display_order = display_order
        self.installed = False
        self.is_environment = False
        self.mandatory_packages = []
        self.default_packages = []
        self.optional_packages = []
        # Conditional members: package name -> the package that brings it in.
        self.conditional_packages = {}
        self.sub_groups = []
        self.default_metapkgs = []
        self.optional_metapkgs = []

    # The names older yum used for the same lists.
    @property
    def mandatory_pkgs(self):
        return self.mandatory_packages

    @property
    def default_pkgs(self):
        return self.default_packages

    @property
    def optional_pkgs(self):
        return self.optional_packages

    @property
    def packages(self):
        return (self.mandatory_packages + self.default_packages + self.optional_packages
                + list(self.conditional_packages))

    def __str__(self):
        return self.name

    def __repr__(self):
        return "<Group %s (%s)%s>" % (self.groupid, self.name,
                                      " installed" if self.installed else "")


def _installedByPackages(group, installedNames):
    for members in (group.mandatory_packages, group.default_packages, group.optional_packages):
        if members:
            return any(name in installedNames for name in members)
    return False


def fromComps(comps, installedNames):
    """Group objects of every group and environment of dnf's comps, in comps order."""
    groups = []
    byId = {}
    for g in comps.groups_iter():
        group = Group(g.id, g.ui_name, g.ui_description or "", bool(g.visible),
                      getattr(g, "display_order", None))
        for pkg in g.packages_iter():
            kind = pkg.option_type
            if kind == _MANDATORY:
                group.mandatory_packages.append(pkg.name)
            elif kind == _DEFAULT:
                group.default_packages.append(pkg.name)
            elif kind == _OPTIONAL:
                group.optional_packages.append(pkg.name)
            elif kind == _CONDITIONAL:
                group.conditional_packages[pkg.name] = pkg.requires or None
        group.installed = _installedByPackages(group, installedNames)
        groups.append(group)
        byId[g.id] = group
    for e in comps.environments_iter():
        env = Group(e.id, e.ui_name, e.ui_description or "", True,
                    getattr(e, "display_order", None))
        env.is_environment = True
        env.sub_groups = [byId[i.name].name for i in e.group_ids if i.name in byId]
        for option in e.option_ids:
            if option.name in byId:
                target = env.default_metapkgs if option.default else env.optional_metapkgs
                target.append(byId[option.name].name)
        members = [byId[i.name] for i in e.group_ids if i.name in byId]
        env.installed = any(g.installed for g in members)
        groups.append(env)
    return groups


class GroupInfo:
    """What collectGroupInfo() returns: iterating it yields every group."""

    def __init__(self, groups):
        self._groups = list(groups)

    def __iter__(self):
        return iter(self._groups)

    def __len__(self):
        return len(self._groups)

    @property
    def visible_groups(self):
        return [g for g in self._groups if g.user_visible]

    @property
    def group_installed(self):
        return {g.name: g.installed for g in self._groups}

    def return_group(self, key):
        """The group whose id or name is key, or None."""
        for g in self._groups:
            if key in (g.groupid, g.name):
                return g
        return None

