/** What went wrong: words for a person, the code behind them, and what the other side called it. */
export interface Problem {
  text: string;
  code?: number | string;
  said?: string;
}

/** A call that was refused, or came to nothing. */
export class Refusal extends Error {
  readonly problem: Problem;

  constructor(problem: Problem) {
    super(problem.text);
    this.problem = problem;
  }
}

/** The problem behind whatever was thrown. */
export function problemOf(error: unknown): Problem {
  if (error instanceof Refusal) return error.problem;
  return { text: "Something went wrong in this page.", said: String(error) };
}
