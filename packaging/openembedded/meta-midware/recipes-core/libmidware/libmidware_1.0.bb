SUMMARY = "Shared records of a server's management controller"
DESCRIPTION = "The processes of a baseboard management controller share inventory, sensor and state records through one \
region of shared memory. The library copies them in and out, each under the semaphore of its module."
SECTION = "libs"
# The source tree comes without a licence.
LICENSE = "CLOSED"

# Where the sources come from is the distribution's choice: a repository, with SRCREV, or EXTERNALSRC.
MIDWARE_SRC_URI ?= ""
SRC_URI = "${MIDWARE_SRC_URI}"
S = "${WORKDIR}/git"

inherit bash-completion cmake pkgconfig systemd useradd

# What resolves the platform interfaces: "linux", or the names of the controller's own libraries, separated by semicolons;
# then MIDWARE_PLATFORM_DEPENDS names the recipes that build them.
MIDWARE_PLATFORM ?= "linux"
MIDWARE_PLATFORM_DEPENDS ?= "${@'simpleini' if d.getVar('MIDWARE_PLATFORM') == 'linux' else ''}"
DEPENDS = "${MIDWARE_PLATFORM_DEPENDS}"

PACKAGECONFIG ??= "tools"
PACKAGECONFIG[tools] = "-DMIDWARE_TOOLS=ON,-DMIDWARE_TOOLS=OFF,cli11 fmt nlohmann-json"

# SimpleIni is looked for on the build machine unless its place is said.
EXTRA_OECMAKE = "\
    -DMIDWARE_PLATFORM='${MIDWARE_PLATFORM}' \
    -DMIDWARE_SIMPLEINI_DIR=${STAGING_INCDIR} \
    -DMIDWARE_TESTS=OFF \
"

do_install:append() {
    # Where this distribution keeps its units.
    units=${D}${prefix}/lib/systemd/system
    if [ -d "$units" ] && [ "${systemd_system_unitdir}" != "${prefix}/lib/systemd/system" ]; then
        install -d ${D}${systemd_unitdir}
        mv "$units" ${D}${systemd_system_unitdir}
        rmdir --ignore-fail-on-non-empty ${D}${prefix}/lib/systemd ${D}${prefix}/lib
    fi
}

PACKAGE_BEFORE_PN = "${PN}-platform ${PN}-tools"

FILES:${PN} = "${libdir}/libmidware${SOLIBS}"
FILES:${PN}-platform = "${libdir}/libmidware_platform${SOLIBS}"
FILES:${PN}-tools = "\
    ${bindir} \
    ${sbindir} \
    ${systemd_system_unitdir} \
    ${nonarch_libdir}/sysusers.d \
    ${nonarch_libdir}/tmpfiles.d \
"

# The packages of libraries that are linked become run-time dependencies by themselves.
RDEPENDS:${PN}-tools = "${PN}"
RRECOMMENDS:${PN}-tools = "pciutils-ids"

SYSTEMD_PACKAGES = "${@bb.utils.contains('PACKAGECONFIG', 'tools', '${PN}-tools', '', d)}"
# The other units are there too, for an image that enables them.
SYSTEMD_SERVICE:${PN}-tools = "midware-init.service"

# The members of this group share the area; the programs run as the user of its name.
USERADD_PACKAGES = "${@bb.utils.contains('PACKAGECONFIG', 'tools', '${PN}-tools', '${PN}', d)}"
GROUPADD_PARAM:${PN} = "--system midware"
GROUPADD_PARAM:${PN}-tools = "--system midware"
USERADD_PARAM:${PN}-tools = "--system --gid midware --no-create-home --home-dir / --shell /sbin/nologin midware"
