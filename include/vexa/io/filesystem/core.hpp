#pragma once

// Everything a host built-in needs from the filesystem core, with the platform types
// its signatures use.

#include <fl/filesystem.hpp>
#include <fl/i18n.hpp>
#include <fl/ustring.hpp>
#include <foundation/core/except/Exception.hpp>
#include <foundation/core/except/IException.hpp>
#include <foundation/network/IRI.hpp>
#include <foundation/storage/provider/ExistenceTypeExtended.hpp>
#include <foundation/storage/provider/ExtendedAttributes.hpp>
#include <foundation/storage/provider/FileAttributes.hpp>
#include <foundation/storage/provider/FolderAttributes.hpp>
#include <foundation/storage/provider/LocalFileProvider.hpp>
#include <foundation/storage/vfs/AbsoluteIRI.hpp>
#include <foundation/storage/vfs/Exception.hpp>
#include <foundation/storage/vfs/Exists.hpp>
#include <foundation/storage/vfs/File.hpp>
#include <foundation/storage/vfs/Folder.hpp>
#include <foundation/storage/vfs/IODevice.hpp>
#include <foundation/storage/vfs/StorageSystem.hpp>
#include <host/Listing.hpp>
#include <Quarrow/PackageRegistry.hpp>
#include <Quarrow/PathManagement/GetStringFromIRI.hpp>
#include <Quarrow/VexaStorageSystem.hpp>
#include <resource_core/BaseMsgID.hpp>
#include <virtualfileio/ExceptionContextHandler.hpp>

#include <vexa/io/filesystem/core/absolute_paths.hpp>
#include <vexa/io/filesystem/core/attributes.hpp>
#include <vexa/io/filesystem/core/content_type.hpp>
#include <vexa/io/filesystem/core/errors.hpp>
#include <vexa/io/filesystem/core/existence.hpp>
#include <vexa/io/filesystem/core/file_list_creator.hpp>
#include <vexa/io/filesystem/core/file_manipulator.hpp>
#include <vexa/io/filesystem/core/log.hpp>
#include <vexa/io/filesystem/core/packages.hpp>
#include <vexa/io/filesystem/core/parent_folders.hpp>
#include <vexa/io/filesystem/core/path_components.hpp>
#include <vexa/io/filesystem/core/path_predicates.hpp>
#include <vexa/io/filesystem/core/path_resolution.hpp>
#include <vexa/io/filesystem/core/replacement_rules.hpp>
#include <vexa/io/filesystem/core/result_handler.hpp>
#include <vexa/io/filesystem/core/symbolic_links.hpp>
#include <vexa/io/filesystem/core/version.hpp>
