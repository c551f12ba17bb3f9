# Headers generated from the build's settings: the version of both programs (app/Version.h) and
# the folders this build installs to (config/InstallDirs.h). They land in one folder of the
# build tree that every target sees through tesselex_common.
set(TESSELEX_GENERATED_DIR ${PROJECT_BINARY_DIR}/generated)
configure_file(${PROJECT_SOURCE_DIR}/app/Version.h.in ${TESSELEX_GENERATED_DIR}/app/Version.h
               @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/config/InstallDirs.h.in
               ${TESSELEX_GENERATED_DIR}/config/InstallDirs.h @ONLY)
target_include_directories(tesselex_common INTERFACE ${TESSELEX_GENERATED_DIR})
