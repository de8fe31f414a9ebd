#pragma once

// CodecOf<Record>::type is the codec class of a record. Every codec header,
// generated or written by hand, specialises it, so the codec engine can reach
// the codec of a nested record from its type.
template <class Record>
struct CodecOf;
