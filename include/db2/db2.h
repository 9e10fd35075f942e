#pragma once

/// Every exported header of the database, and through them the foundation's.

#include <db2/APIFactories.h>
#include <db2/Attribute.h>
#include <db2/AttributeArray.h>
#include <db2/AttributeIterators.h>
#include <db2/AttributeMetaData.h>
#include <db2/AttributeMetaDataDef.h>
#include <db2/AttributeTypeId.h>
#include <db2/ComputeSet.h>
#include <db2/CoreManager.h>
#include <db2/DataInterface.h>
#include <db2/Element.h>
#include <db2/ElementMetaData.h>
#include <db2/ElementMetaDataDef.h>
#include <db2/EnumAttributeMetaData.h>
#include <db2/EnumAttributeMetaDataDef.h>
#include <db2/Export.h>
#include <db2/Flags.h>
#include <db2/Library.h>
#include <db2/LibraryAllocated.h>
#include <db2/MemoryFormat.h>
#include <db2/Migrator.h>
#include <db2/Module.h>
#include <db2/NameHash.h>
#include <db2/Node.h>
#include <db2/NodeIterators.h>
#include <db2/NodeRegistry.h>
#include <db2/NodeTemplate.h>
#include <db2/NumberLimits.h>
#include <db2/SetterAttributeMetaData.h>
#include <db2/SetterAttributeMetaDataDef.h>
#include <db2/Status.h>
#include <db2/UIntHashMap.h>
#include <db2/ValueHandle.h>
#include <db2/ValueInfo.h>
