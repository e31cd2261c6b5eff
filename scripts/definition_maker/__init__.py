"""Makes the definition files that ship with Lib_DICOM from tables of facts about the standard."""
