/** One thing of its kind for each machine, made when it is first asked for and kept as long as the page. */
export function perMachine<T>(make: (machineId: string) => T): (machineId: string) => T {
  const made = new Map<string, T>();
  return (machineId) => {
    let found = made.get(machineId);
    if (found === undefined) {
      found = make(machineId);
      made.set(machineId, found);
    }
    return found;
  };
}
