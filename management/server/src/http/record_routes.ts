import type { FastifyInstance } from "fastify";
import { z } from "zod";
import { auditActions } from "../audit/audit_entry.ts";
import { badRequest } from "../errors.ts";
import { readHistory } from "../machines/history.ts";
import { administratorsOnly } from "./administrators.ts";
import { type ApiContext, onMachine } from "./api_routes.ts";
import { goneSignal } from "./gone_signal.ts";

const number = z
  .string()
  .regex(/^\d{1,15}$/)
  .transform(Number)
  .pipe(z.int().positive());
const portion = z.object({
  before: number.optional(),
  limit: number.pipe(z.int().max(500)).default(100),
});
const oneOrMore = z.union([z.string().transform((one) => [one]), z.array(z.string())]);
const auditQuery = portion.extend({
  machine: z.string().optional(),
  who: z.string().optional(),
  action: oneOrMore.pipe(z.array(z.enum(auditActions))).optional(),
  failed: z.string().optional(),
});

/** What was done and what happened: the server's audit log, and a machine's own history. */
export function recordRoutes(context: ApiContext) {
  const { audit, registry } = context;

  return async (api: FastifyInstance): Promise<void> => {
    const { note } = administratorsOnly(api, context);

    api.get("/audit", async (request, reply) => {
      const { action: actions = [], failed, ...query } = read(auditQuery, request.query);
      const signal = goneSignal(reply);
      return audit.read({ ...query, actions, failed: failed !== undefined, signal });
    });

    api.get<{ Params: { id: string } }>(
      "/machines/:id/history",
      { config: { audit: onMachine("history") } },
      async (request) => {
        const machine = registry.get(request.params.id);
        const { before, limit } = read(portion, request.query);
        const page = await readHistory(machine, { before, limit });
        note(request, { code: 0 });
        return page;
      },
    );
  };
}

function read<T>(schema: z.ZodType<T>, query: unknown): T {
  const parsed = schema.safeParse(query);
  if (parsed.success) return parsed.data;
  throw badRequest(`${String(parsed.error.issues[0]?.path[0] ?? "The query")} is not valid.`);
}
