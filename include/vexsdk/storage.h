/* The storage card. Part of vexsdk.h.
 *
 * The controller takes a removable SD card. These calls tell whether one
 * is inserted and mounted, mount a partition of it at the card's folder,
 * unmount it, and describe its first partition.
 *
 * On a real controller (Linux) the card is the block device whose kernel
 * device type (/sys/block/<dev>/device/type) reads "SD", or the device
 * named by the string value
 *   HKEY_LOCAL_MACHINE\VORLAN\StorageCard\Device      e.g. "mmcblk1"
 * Its partitions are the kernel's (names such as "mmcblk0p1"; a card with a
 * file system on the whole device and no partition table has one, named
 * like the device, "mmcblk0"), described by libblkid from the partitions
 * themselves. The card's folder is
 *   HKEY_LOCAL_MACHINE\VORLAN\StorageCard\Folder      default "/media/Micro_SD"
 * (on the virtual controller default "<instance dir>/Micro_SD"). Mounting
 * needs the CAP_SYS_ADMIN privilege (root); reading the partition
 * descriptions needs read access to the devices (root or group "disk").
 * Either value set to something other than a string makes every card call
 * fail.
 *
 * Results: VEX_TRUE or VEX_FALSE; no error code is recorded, except that
 * vex_SDMount and vex_SDUnmount write the CheckDisk value through
 * vex_RegSetDWORD (which records its own result as the registry helpers
 * do), whether the operation then succeeds or not:
 *   HKEY_LOCAL_MACHINE\Drivers\SDCARD\ClientDrivers\Class\SDMemory_Class\CheckDisk
 * 1 before mounting, 0 before unmounting.
 *
 * Threads: any thread, at any time. */
#ifndef VEXSDK_STORAGE_H
#define VEXSDK_STORAGE_H

#include "types.h"

/* Room for each text of _vex_get_partition_info, NUL included. */
#define VEX_PARTITION_TEXT_SIZE 32

VEXSDK_EXTERN_C_BEGIN

/**
 * @brief VEX_TRUE when a card is inserted.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_SDOnside(void);
/**
 * @brief VEX_TRUE when a card is inserted and one of its partitions is mounted
 *   at the card's folder.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_SDExists(void);
/**
 * @brief Mounts the card's partition of that name at the card's folder, making
 *   the folder (one level) when missing.
 * VEX_FALSE for a null, empty or unknown name, a name of 64 characters or
 * more, a folder whose parent does not exist, a folder where the card is
 * already mounted, and when the system refuses.
 * @param partition Partition, counted from 1.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_SDMount(const wchar_t *partition);
/**
 * @brief Unmounts every partition of the card, wherever mounted.
 * VEX_TRUE when none stays mounted (also when none was); VEX_FALSE without a
 * card.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL vex_SDUnmount(void);
/**
 * @brief Copies the first partition's name, file-system name and volume label
 *   into the three buffers, each of VEX_PARTITION_TEXT_SIZE wide characters
 *   (longer texts are cut; a null buffer is skipped).
 * VEX_FALSE, buffers untouched, when there is no card or it has no
 * partition.
 * @param name Buffer that receives the name (or the name to use).
 * @param fileSystem Buffer that receives the file system name.
 * @param volume Buffer that receives the volume name.
 * @return VEX_TRUE on success, VEX_FALSE on failure.
 * @errors
 *   - none: the call records no code.
 * @thread Safe from any thread.
 */
VEXSDK_API VEX_BOOL _vex_get_partition_info(wchar_t *name, wchar_t *fileSystem, wchar_t *volume);

VEXSDK_EXTERN_C_END

#endif /* VEXSDK_STORAGE_H */
