################################################################################
#
# mcfg
#
# Not tried with Buildroot itself: see packaging/README.md.
#
################################################################################

MCFG_VERSION = 1.0.0
MCFG_SITE = $(BR2_EXTERNAL_MCFG_PATH)/dist
MCFG_SITE_METHOD = file
MCFG_DEPENDENCIES = jansson
# Buildroot's own prefix would put the programs into /usr/sbin.
MCFG_CONF_OPTS = \
	-DCMAKE_BUILD_TYPE=MinSizeRel \
	-DCMAKE_INSTALL_PREFIX=/ \
	-DBUILD_TESTING=OFF

$(eval $(cmake-package))
