"""Deliberate faults. Each takes out a lock, a sync, an order, a bound or a removal that a promise rests on; `--mutate` puts
them into a copy of the tree one at a time, and ./test has to notice each."""

import dataclasses


@dataclasses.dataclass(frozen=True)
class Mutation:
    name: str
    file: str
    old: str            # stands there once
    new: str
    tests: str          # the test programs that are to notice it


STORE, COMM, APP, CLI, ANALYSE, CORE = (f"{name}_tests" for name in ("store", "comm", "app", "cli", "analyse", "core"))


def lock(name, file, old, tests, new=None):
    return Mutation(f"lock: {name}", file, old, old[:old.index("=") + 1] + " 0;" if new is None else new, tests)


def swapped(text, first, second):
    return second.join(part.replace(second, first) for part in text.split(first))


TEXT_FIRST = """Rename(files_.compactionText, files_.text);
        if (done.result < 0) {
            Discard();
            return done;
        }
        // From here on there is no way back: the new index alone means that it has to follow its text.
        done.result = files_.workspace->SyncNames(files_.text);
        if (done.result == 0) done.result = files_.workspace->Rename(files_.compactionIndex, files_.index);"""

MUTATIONS = [
    # Locks.
    lock("appending", "src/store/folder_writer.cpp", "int result = files.workspace->Lock(true, lock_);", STORE),
    lock("flags", "src/store/folder_marker.cpp", "int result = files.workspace->Lock(true, lock_);", STORE),
    lock("taking records out", "src/store/compaction.cpp", "int result = files.workspace->Lock(true, lock);", STORE),
    lock("compaction", "src/store/compaction.cpp", "failed.result = files.workspace->Lock(true, lock);", STORE),
    lock("replacing a mail", "src/store/mailbox.cpp", "int result = files.workspace->Lock(true, lock);", STORE),
    lock("settings and environments", "src/cli/command_context.cpp",
         "int locked = session->workspace.Lock(false, lock);", CLI),
    lock("commands on mails", "src/cli/mail_folder.cpp",
         "const int locked = folder.session->workspace.Lock(true, folder.lock);", CLI),
    lock("one session at a time", "src/app/sessions.cpp",
         "result = workspace_->LockDirectory(kSessionDirectory, lock);", f"{APP} {CLI}",
         "result = (static_cast<void>(lock), 0);"),
    lock("the working directory's own", "src/core/workspace.cpp",
         "const int result = fileSystem_->Lock(root_, wait, taken);", f"{CORE} {STORE}",
         "const int result = (static_cast<void>(wait), 0);"),
    # Syncs.
    Mutation("sync: captures before LOGOFF", "src/comm/commands_modem.cpp",
             "if (const int error = line_->captures().Sync(); error < 0) {", "if (const int error = 0; error < 0) {", COMM),
    Mutation("sync: captures before hanging up", "src/comm/session.cpp",
             "if (const int error = line_.captures().Sync(); error < 0) {", "if (const int error = 0; error < 0) {", COMM),
    Mutation("sync: names of captures", "src/comm/capture_logs.cpp",
             "    if (result == 0 && !target.nameIsSynced) result = workspace_->SyncNames(name);\n", "", COMM),
    Mutation("sync: a mail before its deletion", "src/comm/capture_logs.cpp",
             "for (const TargetIndex index : {Mail, Deletions}) {", "for (const TargetIndex index : {Deletions}) {", COMM),
    Mutation("sync: the account of deletions", "src/comm/capture_logs.cpp",
             "for (const TargetIndex index : {Mail, Deletions}) {", "for (const TargetIndex index : {Mail}) {", COMM),
    Mutation("sync: text before index", "src/store/folder_writer.cpp",
             "    if (result == 0) result = text_->Sync();\n    // Either file", "    // Either file", STORE),
    Mutation("sync: names before index", "src/store/folder_writer.cpp",
             "if (result == 0 && !namesAreSynced_) result = files_.workspace->SyncNames(files_.index);", "", STORE),
    Mutation("sync: index of an append", "src/store/folder_writer.cpp",
             "    int result = FlushBoth();\n    if (result == 0) result = index_->Sync();\n",
             "    int result = FlushBoth();\n", STORE),
    Mutation("sync: flags", "src/store/folder_marker.cpp",
             "if (!mustSync_) return 0;", "if (mustSync_ || !mustSync_) return 0;", STORE),
    Mutation("sync: journal of an index", "src/store/index_journal.cpp",
             "    if (result == 0) result = file_->Sync();\n    file_.reset();", "    file_.reset();", STORE),
    Mutation("sync: name of a journal", "src/store/index_journal.cpp",
             "result = files_->workspace->SyncNames(files_->journal);", "result = 0;", STORE),
    Mutation("sync: compacted files", "src/store/compaction.cpp",
             "return flushed < 0 ? flushed : file_->Sync();", "return flushed;", STORE),
    Mutation("sync: new content of a file", "src/core/workspace.cpp",
             "    if (result == 0) result = file->Sync();\n    return result;", "    return result;", CORE),
    Mutation("sync: name of a replaced file", "src/core/workspace.cpp",
             "        static_cast<void>(RemovePath(beside));\n        return result;\n    }\n"
             "    return fileSystem_->SyncDirectory(path.parent_path());",
             "        static_cast<void>(RemovePath(beside));\n        return result;\n    }\n    return 0;", CORE),
    # Orders.
    Mutation("order: index before text is taken back", "src/store/folder_writer.cpp",
             "    if (result == 0 && text_->Truncate(oldTextBytes_) == 0)",
             "    if (text_->Truncate(oldTextBytes_) == 0)", STORE),
    Mutation("order: the new text is in place before its index", "src/store/compaction.cpp",
             TEXT_FIRST, swapped(TEXT_FIRST, "(files_.compactionText, files_.text)", "(files_.compactionIndex, files_.index)"),
             STORE),
    Mutation("order: the reservation goes before the mark", "src/store/folder_marker.cpp",
             "    int result = SetFlag(recordNumber, flag::kPosition8, 'y');\n"
             "    if (result == 0) result = SetFlag(recordNumber, flag::kSent, 'S');",
             "    int result = SetFlag(recordNumber, flag::kSent, 'S');\n"
             "    if (result == 0) result = SetFlag(recordNumber, flag::kPosition8, 'y');", STORE),
    # Bounds.
    Mutation("bound: what is read of a text", "src/store/text_record.cpp",
             "if (end == std::string_view::npos || end > index_field::kFlags.width || end + 2 > read.size()) return 0;",
             "if (end == std::string_view::npos) return 0;", STORE),
    Mutation("bound: a record that is cut", "src/store/folder_marker.cpp",
             "    if (count != static_cast<std::int64_t>(kIndexRecordBytes)) return -EINVAL;\n", "", STORE),
    Mutation("bound: an identifier is compared", "src/store/index_record.cpp",
             "return localId.starts_with(WithoutTrailingBlanks(FieldOf(record, index_field::kLocalId)));",
             "return !localId.empty() || record.empty();", STORE),
    # Removals.
    Mutation("removal: of a journal that is done", "src/store/index_journal.cpp",
             "    if (result == 0) result = files.workspace->Remove(files.journal);\n", "", STORE),
    Mutation("removal: only of a capture that was read whole", "src/analyse/mail_log.cpp",
             "error_ = unread_ > 0 ? KeepCapture() : analysis_.workspace.Remove(path_);",
             "error_ = analysis_.workspace.Remove(path_);", ANALYSE),
    Mutation("removal: only of a capture that is stored", "src/analyse/mail_log.cpp",
             "if (delivered && error_ == 0 && !failed_) PutCaptureAway();", "if (error_ == 0) PutCaptureAway();", ANALYSE),
    Mutation("removal: of what a killed program left beside", "src/core/workspace.cpp",
             "    const int removed = RemovePath(path);\n    if (removed < 0 && removed != -ENOENT) return removed;\n"
             "    return OpenPath(path, OpenMode::CreateNew, file);",
             "    return OpenPath(path, OpenMode::CreateNew, file);", CORE),
    Mutation("removal: of the part file, after the capture's", "src/analyse/mail_log.cpp",
             "    error_ = unread_ > 0 ? KeepCapture()", "    part_.Remove();\n    error_ = unread_ > 0 ? KeepCapture()",
             ANALYSE),
]
