# The fuzz targets, each NAME_fuzz.cpp with its seeds in seeds/NAME, and the libraries that they need beyond core, comm
# and store.
set(postkite_fuzz_targets
  environments folder_properties folder_tree forum_log mail_log mailbox older_layouts practice_host rules script_file
  send_queue session settings telnet_codec text)
set(postkite_fuzz_libraries postkite_analyse postkite_organise postkite_outgoing postkite_practice postkite_store postkite_comm
  postkite_core)
