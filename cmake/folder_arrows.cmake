# Which folder of src/ may use which. The linker gets its arrows from here, and the test `folder_arrows` holds
# every #include to them.

set(POSTKITE_FOLDERS core comm store organise outgoing analyse app cli ui practice)

set(POSTKITE_USES_core)
set(POSTKITE_USES_comm core)
set(POSTKITE_USES_store core)
set(POSTKITE_USES_organise core store)
set(POSTKITE_USES_outgoing core store)
set(POSTKITE_USES_analyse core store organise)
set(POSTKITE_USES_app core comm store organise outgoing analyse)
set(POSTKITE_USES_cli core comm store organise outgoing analyse app)
set(POSTKITE_USES_ui core comm store organise outgoing analyse app)
set(POSTKITE_USES_practice core)
