// The commands, in the order of the help. A command NAME has a source of its own, which defines
// `void AddNAME(CLI::App& program, Context& context)`, and a line here.
BRINDLEX_COMMAND(View)
BRINDLEX_COMMAND(Info)
BRINDLEX_COMMAND(Check)
BRINDLEX_COMMAND(Salvage)
BRINDLEX_COMMAND(ToJson)
BRINDLEX_COMMAND(ToCsv)
BRINDLEX_COMMAND(ToHtml)
BRINDLEX_COMMAND(FromJson)
BRINDLEX_COMMAND(FromCsv)
BRINDLEX_COMMAND(Collections)
BRINDLEX_COMMAND(Base)
BRINDLEX_COMMAND(Help)
