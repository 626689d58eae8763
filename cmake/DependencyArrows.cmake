# Which of our own targets each target may link. A new arrow starts here, with a reason in its commit.
set(MIRSKO_ARROWS_NyUtilsLib "")
set(MIRSKO_ARROWS_NxBase "")
set(MIRSKO_ARROWS_NxSystem NxBase NyUtilsLib)
set(MIRSKO_ARROWS_NxGenICam NxBase NyUtilsLib)
set(MIRSKO_ARROWS_NxDevice NxBase NyUtilsLib NxSystem NxGenICam)
set(MIRSKO_ARROWS_firmware_file sdk_headers compat_miniz)
set(MIRSKO_ARROWS_transfer sdk_headers)
set(MIRSKO_ARROWS_update sdk_headers firmware_file transfer)
set(MIRSKO_ARROWS_app sdk_headers firmware_file update)
# The simulator shares no code with the SDK: a misreading of a protocol must not cancel out.
set(MIRSKO_ARROWS_simulator "")
set(MIRSKO_ARROWS_simulator_u3v simulator)
set(MIRSKO_ARROWS_mirsko-simulator simulator simulator_u3v)
set(MIRSKO_ARROWS_MirskoFirmwareUpdater app update transfer firmware_file
    NxDevice NxGenICam NxSystem NxBase NyUtilsLib)
set(MIRSKO_ARROWS_mirsko-devices NxDevice NxGenICam NxSystem NxBase)
set(MIRSKO_ARROWS_MirskoFirmwareUpdater_installed ${MIRSKO_ARROWS_MirskoFirmwareUpdater})
# What mirsko-package says of a package must hold for the updater: both read it alike.
set(MIRSKO_ARROWS_mirsko-package firmware_file NxDevice NxGenICam NxBase NyUtilsLib)

set(MIRSKO_OWN_TARGETS NyUtilsLib NxBase NxSystem NxGenICam NxDevice sdk_headers sdk_internal
    compat_miniz firmware_file transfer update app simulator simulator_u3v
    MirskoFirmwareUpdater MirskoFirmwareUpdater_installed mirsko-devices mirsko-package
    mirsko-simulator fake_sdk)

# Fails the configure step when a target links one of ours that the table does not allow it, or
# Aravis: tests and benchmarks compare ours with it, so nothing of ours may be made of it.
function(mirsko_check_dependency_arrows)
    foreach(target IN LISTS MIRSKO_OWN_TARGETS)
        if(NOT DEFINED MIRSKO_ARROWS_${target} OR NOT TARGET ${target})
            continue()
        endif()
        get_target_property(linked ${target} LINK_LIBRARIES)
        foreach(library IN LISTS linked)
            string(REGEX REPLACE "^\\$<LINK_ONLY:(.*)>$" "\\1" library "${library}")
            if(library IN_LIST MIRSKO_OWN_TARGETS AND NOT library STREQUAL "sdk_internal"
               AND NOT library IN_LIST MIRSKO_ARROWS_${target})
                message(FATAL_ERROR "${target} must not depend on ${library} "
                                    "(see cmake/DependencyArrows.cmake)")
            endif()
            string(TOLOWER "${library}" lowered)
            if(lowered MATCHES "aravis")
                message(FATAL_ERROR "${target} must not use Aravis "
                                    "(see cmake/DependencyArrows.cmake)")
            endif()
        endforeach()
        if("sdk_internal" IN_LIST linked AND NOT target MATCHES "^N[xy]")
            message(FATAL_ERROR "${target} must not use the SDK's internal headers")
        endif()
    endforeach()
endfunction()
