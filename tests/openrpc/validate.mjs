// Validates the OpenRPC document: against the OpenRPC meta-schema, every parameter schema
// as JSON Schema draft-07 in ajv's strict mode, and every valid request of the parsing
// cases against the schemas of its method's parameters.
//
//   node validate.mjs DOCUMENT.json PARSING_CASES.json LENIENT.json
//
// LENIENT.json names, per parsing case, the parameters whose value the parser takes although
// it is outside the documented contract (a number for a boolean, "UNITY" for "unity", a
// value of another kind read as absent). Each such value must fail its schema: an entry
// that is not needed is reported, so the list cannot hide a schema that is too narrow.

import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import Ajv from "ajv";

const require = createRequire(import.meta.url);
const [documentPath, casesPath, lenientPath] = process.argv.slice(2);
const document = JSON.parse(readFileSync(documentPath, "utf8"));
const cases = JSON.parse(readFileSync(casesPath, "utf8"));
const lenient = JSON.parse(readFileSync(lenientPath, "utf8"));
const problems = [];

// The published meta-schema refers to its JSON Schema meta-schema by a URL that is not
// packaged; the parameter schemas are checked by ajv's own draft-07 meta-schema below, and a
// reference is what that meta-schema says it is, a URI-reference string. Formats ("uri")
// are not checked: ajv needs a further package for them.
const metaSchema = structuredClone(require("@open-rpc/meta-schema").default ?? require("@open-rpc/meta-schema"));
delete metaSchema.$schema;
metaSchema.definitions.JSONSchema = { type: ["object", "boolean"] };
metaSchema.definitions.referenceObject.properties.$ref = { type: "string" };
const validateDocument = new Ajv({ strict: false, allErrors: true, validateFormats: false }).compile(metaSchema);
if (!validateDocument(document)) {
  problems.push("not a valid OpenRPC document: " + JSON.stringify(validateDocument.errors, null, 1));
}

const ajv = new Ajv({ strict: true, allErrors: true });
const methods = new Map();
for (const method of document.methods) {
  const params = new Map();
  for (const param of method.params) {
    try {
      params.set(param.name, { required: param.required === true, validate: ajv.compile(param.schema) });
    } catch (error) {
      problems.push(`${method.name}.${param.name}: schema refused: ${error.message}`);
    }
  }
  methods.set(method.name, params);
}

const validCases = new Set();
for (const item of cases) {
  if ("error" in item) continue;
  let request = item.request;
  if (typeof request === "string") request = JSON.parse(request);
  const params = request.params ?? {};
  const declared = methods.get(request.method);
  if (!declared) {
    problems.push(`${item.name}: valid case of an undescribed method ${request.method}`);
    continue;
  }
  validCases.add(item.name);
  const tolerated = new Set(lenient[item.name] ?? []);
  for (const [name, param] of declared) {
    if (!(name in params)) {
      if (param.required) problems.push(`${item.name}: required ${name} absent, yet the case is valid`);
      continue;
    }
    const fits = param.validate(params[name]);
    if (!fits && !tolerated.has(name)) {
      problems.push(`${item.name}: ${name} = ${JSON.stringify(params[name])} fails its schema: ` +
                    ajv.errorsText(param.validate.errors));
    }
    if (fits && tolerated.has(name)) problems.push(`${item.name}: ${name} is listed as lenient but fits its schema`);
  }
  for (const name of tolerated) {
    if (!declared.has(name)) problems.push(`${item.name}: lenient ${name} is no parameter of ${request.method}`);
  }
}
for (const name of Object.keys(lenient)) {
  if (!validCases.has(name)) problems.push(`lenient entry for "${name}", which is no valid parsing case`);
}

if (problems.length > 0) {
  console.error(problems.join("\n"));
  process.exit(1);
}
console.log(`OpenRPC document valid: ${document.methods.length} methods, ${validCases.size} valid cases fit`);
